// SPDX-License-Identifier: Apache-2.0
// The message's RTF body as a document a person can open: the HTML or text an encapsulating
// RTF carries, else the RTF made into HTML (with its pictures inlined, or given as files),
// else the RTF itself.
#pragma once

#include <memory>
#include <mutex>

#include "exporters/AttachmentExporter.h"
#include "exporters/QBExporter.h"
#include "model/OutlookMessage.h"
#include "richtext/StyledText.h"

namespace qb {

class RTFExporter : public QBExporter {
  public:
    // Nothing when the message has no RTF body, or when it gives neither a document nor
    // pictures.
    static std::shared_ptr<RTFExporter> create(std::shared_ptr<const OutlookMessage> message);

    std::shared_ptr<const OutlookMessage> message() const { return message_; }
    // Pictures of a body that could not be made into HTML, as files (the name is kept so).
    const std::vector<std::shared_ptr<AttachmentExporter>>& embbedImageAttachments() const {
        return embbedImageAttachments_;
    }
    // The body as styled text, when it was read through the styled-text model.
    const std::shared_ptr<const StyledText>& attributedString() const { return attributedString_; }

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override { return data_; }
    EDMessagePartPtr messagePart() const override;
    // "text/html", or "text/rtf" when no HTML could be made.
    std::optional<std::string> mimeType() const override { return mimeType_; }
    void setMimeType(std::string type) { mimeType_ = std::move(type); }
    Dictionary metadata() const override;

  private:
    explicit RTFExporter(std::shared_ptr<const OutlookMessage> message)
        : message_(std::move(message)) {}
    void parseRTF(const Bytes& rtf);

    std::shared_ptr<const OutlookMessage> message_;
    std::optional<std::string> filename_ = "Message.rtf";
    std::optional<Bytes> data_;
    std::string mimeType_;
    std::vector<std::shared_ptr<AttachmentExporter>> embbedImageAttachments_;
    std::shared_ptr<const StyledText> attributedString_;
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
};

// The decompressed RTF body of a message; nothing when it has none (or an empty one).
std::optional<Bytes> rtfBodyOfMessage(const OutlookMessage& message);

// Styled text as HTML bytes; nothing (and a log line) when it cannot be written.
std::optional<Bytes> htmlDataOfString(const StyledText& text, size_t sizeHint = 0);

}  // namespace qb
