// SPDX-License-Identifier: Apache-2.0
// The message model's core: the interface the TNEF and .msg readers implement and every
// exporter, the front door and the command line read.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/Address.h"
#include "model/MAPIProp.h"
#include "platform/Bytes.h"
#include "platform/Date.h"
#include "platform/Export.h"
#include "platform/ReadReport.h"
#include "platform/StringEncoding.h"

namespace qb {

class TNEFAttr;
class TNEFAttachment;

using TNEFAttrList = std::vector<std::shared_ptr<TNEFAttr>>;
using AttachmentList = std::vector<std::shared_ptr<TNEFAttachment>>;

/// How a reader lays out property values in their buffers.
enum class ValueLayout {
    /// The value's range starts at its first byte inside a shared stream; variable-length
    /// values carry a 32-bit length in front (TNEF).
    CountedInStream,
    /// Each variable-length value owns its whole buffer (.msg).
    WholeBuffer,
};

/// The read-only message both readers fill and every exporter consumes. Any field may be
/// absent; lists are always lists.
class QB_API OutlookMessage : public std::enable_shared_from_this<OutlookMessage> {
  public:
    virtual ~OutlookMessage() = default;

    /// Whether the reader skipped the data checksums.
    virtual bool ignoreChecksum() const = 0;
    /// The encoding of the message's 8-bit strings (from its code page).
    virtual StringEncoding encoding() const = 0;
    /// The message-level TNEF attribute records; empty for a .msg file.
    virtual const TNEFAttrList& attributes() const = 0;
    /// Nothing when the message has no property list at all.
    virtual const MAPIPropList* mapiprops() const = 0;
    /// The attachments, in order; an attached message is opened by nestedMessage().
    virtual const AttachmentList& attachments() const = 0;
    /// The key that ties a TNEF stream to the mail that carried it.
    virtual std::optional<std::string> tnefCorrelator() const = 0;
    /// What the item is: IPM.Note, IPM.Appointment, IPM.Contact...
    virtual std::optional<std::string> messageClass() const = 0;
    /// The primary, copy and blind-copy recipients.
    virtual const AddressList& toRecipients() const = 0;
    virtual const AddressList& ccRecipients() const = 0;
    virtual const AddressList& bccRecipients() const = 0;
    /// The sender, or null.
    virtual std::shared_ptr<Address> sender() const = 0;
    /// The subject, in UTF-8.
    virtual std::optional<std::string> subject() const = 0;
    /// The date the message carries in its TNEF fields (a .msg keeps its dates as properties).
    virtual std::optional<Date> date() const = 0;
    /// The plain-text and HTML bodies (UTF-8) of a MIME entity that stands for the message's
    /// body: the outer mail that carried it, or the signed content of a signed message. The
    /// body exporters fall back to them when the message has no body of its own.
    virtual std::optional<std::string> mimeBodyContent() const { return mimeBody_; }
    virtual std::optional<std::string> mimeHtmlBodyContent() const { return mimeHtmlBody_; }
    /// Set by the reader or by the code that opens the message, before the message is shared.
    void setMimeBodyContent(std::optional<std::string> text) { mimeBody_ = std::move(text); }
    void setMimeHtmlBodyContent(std::optional<std::string> html) {
        mimeHtmlBody_ = std::move(html);
    }
    /// Whether the outer mail's headers name this stream, so that they override its fields.
    virtual bool isTnefCorrelatorMatchingMimeHeader() const = 0;

    /// How this reader's property values are laid out.
    virtual ValueLayout valueLayout() const = 0;
    /// Opens an embedded message of the same container format; the reader implements it so
    /// that property values can decode embedded objects without knowing the readers.
    virtual std::shared_ptr<OutlookMessage> openEmbeddedMessage(const Bytes& data) const = 0;

    /// What reading left out, shared with every message nested in this one; never null.
    const std::shared_ptr<ReadReport>& report() const { return report_; }

  protected:
    explicit OutlookMessage(std::shared_ptr<ReadReport> report = nullptr)
        : report_(report ? std::move(report) : std::make_shared<ReadReport>(0)) {}

  private:
    std::shared_ptr<ReadReport> report_;
    std::optional<std::string> mimeBody_, mimeHtmlBody_;
};

}  // namespace qb
