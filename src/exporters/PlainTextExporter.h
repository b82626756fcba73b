// SPDX-License-Identifier: Apache-2.0
// The plain-text body exporter, one of the body exporters the message exporter gathers; the
// other body exporters share its metadata shape.
#pragma once

#include <memory>
#include <mutex>

#include "exporters/QBExporter.h"
#include "model/OutlookMessage.h"

namespace qb {

// The message's plain-text body as "Message.txt".
class PlainTextExporter : public QBExporter {
  public:
    // Nothing when the message has no plain text (reports get their fixed sentence).
    static std::shared_ptr<PlainTextExporter> create(std::shared_ptr<const OutlookMessage> message);

    const std::string& plainText() const { return plainText_; }
    std::shared_ptr<const OutlookMessage> message() const { return message_; }

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override;
    EDMessagePartPtr messagePart() const override;
    std::optional<std::string> mimeType() const override { return "text/plain"; }
    Dictionary metadata() const override;

  private:
    PlainTextExporter(std::shared_ptr<const OutlookMessage> message, std::string text);

    std::shared_ptr<const OutlookMessage> message_;
    std::optional<std::string> filename_ = "Message.txt";
    std::string plainText_;
    mutable std::once_flag dataOnce_, partOnce_;
    mutable Bytes data_;
    mutable EDMessagePartPtr part_;
};

// The body text a message carries or, for reports without text, the sentence that says
// what happened; nothing when there is neither.
std::optional<std::string> plainTextOfMessage(const OutlookMessage& message);

// Metadata shared by the body exporters.
Dictionary textExporterMetadata(const std::optional<std::string>& filename,
                                const std::string& mimeType);

}  // namespace qb
