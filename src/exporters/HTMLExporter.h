// SPDX-License-Identifier: Apache-2.0
// The HTML body exporter, used by the message exporter when the message has no RTF body; it
// also gives the body as styled text.
#pragma once

#include <memory>
#include <mutex>

#include "exporters/QBExporter.h"
#include "model/OutlookMessage.h"
#include "platform/StringEncoding.h"
#include "richtext/StyledText.h"

namespace qb {

// The message's HTML body as "Message.html": the body read and written back as a complete
// UTF-8 document with every font two points larger; the body's own bytes when that fails.
class HTMLExporter : public QBExporter {
  public:
    // Nothing when the message has no HTML body.
    static std::shared_ptr<HTMLExporter> create(std::shared_ptr<const OutlookMessage> message);

    std::shared_ptr<const OutlookMessage> message() const { return message_; }
    // The text encoding of `data`.
    StringEncoding dataEncoding() const { return dataEncoding_; }
    // The body as styled text, two points larger, for display; read on first use. Nothing
    // when the body gives no document.
    std::shared_ptr<const StyledText> attributedString() const;

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override { return data_; }
    EDMessagePartPtr messagePart() const override;
    std::optional<std::string> mimeType() const override { return "text/html"; }
    Dictionary metadata() const override;

  private:
    HTMLExporter(std::shared_ptr<const OutlookMessage> message, Bytes data,
                 StringEncoding encoding);

    std::shared_ptr<const OutlookMessage> message_;
    std::optional<std::string> filename_ = "Message.html";
    Bytes data_;
    StringEncoding dataEncoding_;
    bool fontsEnlarged_ = false;
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
    mutable std::once_flag styledOnce_;
    mutable std::shared_ptr<const StyledText> styled_;
};

// How much larger the exported HTML shows every font.
inline constexpr double kHTMLExportFontStep = 2.0;

}  // namespace qb
