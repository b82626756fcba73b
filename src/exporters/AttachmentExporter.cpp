// SPDX-License-Identifier: Apache-2.0
// Names reduced to their last path component, OLE objects unpacked when there are no plain
// bytes, and Content-ID kept on the part so HTML bodies still find their pictures.
#include "exporters/AttachmentExporter.h"

#include <algorithm>
#include <cctype>

#include "exporters/ContentIDs.h"
#include "exporters/OLEObjectFile.h"
#include "formats/QBFileFormat.h"
#include "mime/ContentCoders.h"
#include "mime/FieldCoders.h"
#include "mime/MimeTypes.h"

namespace qb {

std::string lastPathComponent(std::string_view name) {
    // Windows paths too: C:\Users\bob\evil.txt, and a bare drive letter, C:evil.txt.
    if (const size_t separator = name.find_last_of("/\\"); separator != std::string::npos)
        name.remove_prefix(separator + 1);
    if (name.size() >= 2 && name[1] == ':' && std::isalpha(static_cast<unsigned char>(name[0])))
        name.remove_prefix(2);
    return std::string(name);
}

std::string filenameWithDetectedExtension(std::string name, const Bytes& data) {
    if (!pathExtension(name).empty()) return name;
    if (const QBFileFormat* format = QBFileFormat::fileFormatOfData(data)) {
        if (!format->extensions.empty()) name += "." + format->preferredFileExtension();
    }
    return name;
}

AttachmentExporter::AttachmentExporter(std::shared_ptr<TNEFAttachment> attachment, Bytes data,
                                       std::string name)
    : attachment_(std::move(attachment)),
      data_(std::move(data)),
      filename_(filenameWithDetectedExtension(std::move(name), data_)) {}

std::shared_ptr<AttachmentExporter> AttachmentExporter::create(
    std::shared_ptr<TNEFAttachment> attachment) {
    if (!attachment) return nullptr;
    std::string name = lastPathComponent(attachment->filename().value_or(""));
    if (name.empty()) name = "Untitled Attachment";
    auto data = attachment->rawData();
    if (!data) {
        auto object = fileOfOLEObject(*attachment);
        if (!object) return nullptr;
        data = object->data;
        if (const std::string packed = lastPathComponent(object->filename); !packed.empty())
            name = packed;
    }
    return std::shared_ptr<AttachmentExporter>(
        new AttachmentExporter(std::move(attachment), std::move(*data), std::move(name)));
}

std::shared_ptr<AttachmentExporter> AttachmentExporter::create(Bytes data, std::string filename) {
    return std::shared_ptr<AttachmentExporter>(
        new AttachmentExporter(nullptr, std::move(data), std::move(filename)));
}

EDMessagePartPtr AttachmentExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        part_ = EDMultimediaContentCoder(data_, filename_.value_or(""), inline_).messagePart();
        if (!attachment_) return;
        // Mail readers find the pictures of an HTML body by these.
        if (auto id = attachment_->contentId()) {
            const std::string bare = bareContentID(*id);
            const bool printable = std::all_of(bare.begin(), bare.end(), [](char c) {
                return c > 0x20 && c < 0x7F && c != '<' && c != '>';
            });
            if (!bare.empty() && printable)
                part_->headers().setHeader("<" + bare + ">", "Content-ID");
        }
        if (auto location = attachment_->contentLocation(); location && !location->empty())
            part_->headers().setHeader(EDTextFieldCoder::encoderWithText(*location).fieldBody(),
                                       "Content-Location");
    });
    return part_;
}

std::optional<std::string> AttachmentExporter::mimeType() const {
    return attachment_ ? attachment_->mimeType() : std::nullopt;
}

Dictionary AttachmentExporter::metadata() const {
    Dictionary d = Dictionary::object();
    if (filename_) d["filename"] = *filename_;
    if (attachment_) {
        if (auto v = attachment_->mimeType()) d["Content-Type"] = *v;
        if (auto v = attachment_->contentId()) d["Content-ID"] = *v;
        if (auto v = attachment_->contentLocation()) d["Content-Location"] = *v;
    }
    return d;
}

}  // namespace qb
