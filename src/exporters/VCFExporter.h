// SPDX-License-Identifier: Apache-2.0
// The contact exporter: the vCard of a contact or distribution list, for the message exporter
// and quillbox vcf.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "exporters/QBExporter.h"
#include "exporters/VCFCard.h"
#include "exporters/VCFWriter.h"
#include "model/OutlookMessage.h"

namespace qb {

// A contact as one vCard, a distribution list as one card per member with an SMTP address.
// The 2.1 form is the one the message exporter offers; the 4.0 form is asked for by name.
class VCFExporter : public QBExporter {
  public:
    // Whether the class is a contact's or a distribution list's (custom forms included).
    static bool canHandleMessageClass(const std::optional<std::string>& messageClass);

    // Builds the card text at once. A message of any other class gives empty data, and so does
    // a list without members; nothing only for no message.
    static std::shared_ptr<VCFExporter> create(std::shared_ptr<const OutlookMessage> message,
                                               VCardVersion version = VCardVersion::V21);

    // A list's members (empty for a contact).
    const std::vector<DistListMember>& distributionListMembers() const { return members_; }
    std::shared_ptr<const OutlookMessage> message() const { return message_; }
    VCardVersion version() const { return version_; }

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override { return data_; }
    EDMessagePartPtr messagePart() const override;
    std::optional<std::string> mimeType() const override;
    Dictionary metadata() const override;

  private:
    VCFExporter() = default;

    std::shared_ptr<const OutlookMessage> message_;
    VCardVersion version_ = VCardVersion::V21;
    std::vector<DistListMember> members_;
    std::optional<std::string> filename_;
    Bytes data_;
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
};

// The card's file name: "Given Surname.vcf", else the given name, the surname or the display
// name with ".vcf", else "vcard.vcf".
std::string vcardFilename(const OutlookMessage& message);

}  // namespace qb
