// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "model/OutlookMessage.h"
#include "tnef/TNEFAttachment.h"

namespace qb::test {

// A message whose fields a test sets directly; property lists and attributes can be
// borrowed from a real message, which it then keeps alive.
class FakeMessage : public OutlookMessage {
  public:
    static std::shared_ptr<FakeMessage> make() { return std::make_shared<FakeMessage>(); }

    // Adds an attachment with this name and content, or carrying `nested`.
    std::shared_ptr<TNEFAttachment> addAttachment(std::optional<std::string> name,
                                                  std::optional<std::string> content,
                                                  std::shared_ptr<OutlookMessage> nested = nullptr);
    // Uses the property list and attributes of `source`.
    void borrowPropertiesOf(std::shared_ptr<OutlookMessage> source);

    bool ignoreChecksum() const override { return true; }
    StringEncoding encoding() const override { return encoding_; }
    const TNEFAttrList& attributes() const override;
    const MAPIPropList* mapiprops() const override;
    const AttachmentList& attachments() const override { return attachments_; }
    std::optional<std::string> tnefCorrelator() const override { return correlator; }
    std::optional<std::string> messageClass() const override { return messageClass_; }
    const AddressList& toRecipients() const override { return to; }
    const AddressList& ccRecipients() const override { return cc; }
    const AddressList& bccRecipients() const override { return bcc; }
    std::shared_ptr<Address> sender() const override { return sender_; }
    std::optional<std::string> subject() const override { return subject_; }
    std::optional<Date> date() const override { return date_; }
    std::optional<std::string> mimeBodyContent() const override { return mimeBody; }
    std::optional<std::string> mimeHtmlBodyContent() const override { return mimeHtml; }
    bool isTnefCorrelatorMatchingMimeHeader() const override { return false; }
    ValueLayout valueLayout() const override { return ValueLayout::CountedInStream; }
    std::shared_ptr<OutlookMessage> openEmbeddedMessage(const Bytes&) const override {
        return nullptr;
    }

    StringEncoding encoding_ = kUTF8Encoding;
    std::optional<std::string> correlator, messageClass_, subject_, mimeBody, mimeHtml;
    std::optional<Date> date_;
    std::shared_ptr<Address> sender_;
    AddressList to, cc, bcc;
    AttachmentList attachments_;

  private:
    std::shared_ptr<OutlookMessage> source_;
};

// An address from its parts, empty texts left absent.
std::shared_ptr<Address> address(const std::string& name, const std::string& addr,
                                 const std::string& type = "SMTP");

}  // namespace qb::test
