// SPDX-License-Identifier: Apache-2.0
// The exporter for one attachment (or a picture taken out of a body): its file name, bytes and
// MIME part inside an exported message.
#pragma once

#include <memory>
#include <mutex>

#include "exporters/QBExporter.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

// One file: a message's attachment, or named bytes (a picture taken out of a body). A name
// without extension gets the one of the format its content shows.
class AttachmentExporter : public QBExporter {
  public:
    // Nothing when the attachment has no content.
    static std::shared_ptr<AttachmentExporter> create(std::shared_ptr<TNEFAttachment> attachment);
    static std::shared_ptr<AttachmentExporter> create(Bytes data, std::string filename);

    std::shared_ptr<TNEFAttachment> attachment() const { return attachment_; }
    // Whether the part is shown inline (a picture the HTML body refers to); set before the
    // first call of messagePart().
    bool isInline() const { return inline_; }
    void setInline(bool v) { inline_ = v; }

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override { return data_; }
    EDMessagePartPtr messagePart() const override;
    // The attachment's own MIME type; nothing for named bytes.
    std::optional<std::string> mimeType() const override;
    Dictionary metadata() const override;

  private:
    AttachmentExporter(std::shared_ptr<TNEFAttachment> attachment, Bytes data, std::string name);

    std::shared_ptr<TNEFAttachment> attachment_;
    Bytes data_;
    std::optional<std::string> filename_;
    bool inline_ = false;
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
};

// The last component of a path, "/" and "\\" both separators, a drive letter dropped.
std::string lastPathComponent(std::string_view name);

// The name with the detected format's extension appended when it has none.
std::string filenameWithDetectedExtension(std::string name, const Bytes& data);

}  // namespace qb
