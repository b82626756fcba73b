// SPDX-License-Identifier: Apache-2.0
// The TNEF reader: turns a winmail.dat stream into an OutlookMessage, attachments grouped and
// fields derived; the exporters, the front door and the command line read it.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Dictionary.h"
#include "platform/Export.h"
#include "platform/Lazy.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFAttr.h"
#include "tnef/TNEFError.h"

namespace qb {

/// A TNEF stream (winmail.dat) read into the message model. Everything is parsed in
/// create(); derived fields are computed on first use and kept.
class QB_API TNEFMessage : public OutlookMessage {
  public:
    /// Embedded messages nest at most this deep; deeper ones are not opened.
    static constexpr int kMaxDepth = 64;

    /// Nothing for empty or unrecognised data (with `error` set). A stream that breaks off
    /// still yields the message read so far; a truncated record also sets `error`.
    static std::shared_ptr<TNEFMessage> create(Bytes data, const Dictionary* mimeMessageHeaders,
                                               bool ignoreChecksum, TNEFError* error = nullptr);
    /// Checksums are ignored unless a caller asks for them.
    static std::shared_ptr<TNEFMessage> create(Bytes data,
                                               const Dictionary* mimeMessageHeaders = nullptr,
                                               TNEFError* error = nullptr) {
        return create(std::move(data), mimeMessageHeaders, true, error);
    }

    const Bytes& data() const { return data_; }
    const Dictionary* mimeMessageHeaders() const {
        return mimeMessageHeaders_ ? &*mimeMessageHeaders_ : nullptr;
    }
    int depth() const { return depth_; }

    /// The next record at `location`, moving `location` past it; nothing at the end, on a bad
    /// level or checksum, or when the record is cut off (then with `error` set).
    std::shared_ptr<TNEFAttr> readTNEFAttr(size_t& location, TNEFError* error);
    /// The code page of the 8-bit strings, from the property list's labels and the stream's
    /// attOemCodepage (see model/CodePage.h).
    void processEncoding(const MAPIPropList* props);

    /// OutlookMessage
    bool ignoreChecksum() const override { return ignoreChecksum_; }
    StringEncoding encoding() const override { return encoding_; }
    const TNEFAttrList& attributes() const override { return attributes_; }
    const MAPIPropList* mapiprops() const override { return mapiprops_ ? &*mapiprops_ : nullptr; }
    const AttachmentList& attachments() const override { return attachments_; }
    std::optional<std::string> tnefCorrelator() const override;
    std::optional<std::string> messageClass() const override;
    const AddressList& toRecipients() const override { return to_; }
    const AddressList& ccRecipients() const override { return cc_; }
    const AddressList& bccRecipients() const override { return bcc_; }
    std::shared_ptr<Address> sender() const override { return sender_; }
    std::optional<std::string> subject() const override { return subject_; }
    std::optional<Date> date() const override { return date_; }
    bool isTnefCorrelatorMatchingMimeHeader() const override;
    ValueLayout valueLayout() const override { return ValueLayout::CountedInStream; }
    std::shared_ptr<OutlookMessage> openEmbeddedMessage(const Bytes& data) const override;

    /// `report` is the one of the message this one is nested in; a new one when null.
    TNEFMessage(Bytes data, const Dictionary* mimeMessageHeaders, bool ignoreChecksum, int depth,
                std::shared_ptr<ReadReport> report = nullptr);

  private:
    bool read(TNEFError* error);
    std::shared_ptr<const TNEFMessage> self() const;

    /// Message fields, in the order create() derives them.
    void parseMessageHeaders();
    void parseSender();
    void findSender();
    void parseRecipients();
    void parseMimeMessageHeaders();

    Bytes data_;
    std::optional<Dictionary> mimeMessageHeaders_;
    bool ignoreChecksum_;
    int depth_;
    StringEncoding encoding_;
    std::optional<uint32_t> oemCodePage_;
    TNEFAttrList attributes_;
    std::optional<MAPIPropList> mapiprops_;
    AttachmentList attachments_;

    std::shared_ptr<Address> sender_;
    AddressList to_, cc_, bcc_;
    std::optional<std::string> subject_;
    std::optional<Date> date_;

    Lazy<std::optional<std::string>> messageClass_;
    Lazy<std::optional<std::string>> tnefCorrelator_;
};

}  // namespace qb
