#include "exporters/AttachmentExporter.h"

#include "formats/QBFileFormat.h"
#include "mime/ContentCoders.h"
#include "mime/MimeTypes.h"

namespace qb {

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
    std::string name = attachment->filename().value_or("");
    if (const size_t slash = name.find_last_of('/'); slash != std::string::npos)
        name.erase(0, slash + 1);
    if (name.empty()) name = "Untitled Attachment";
    auto data = attachment->rawData();
    if (!data) return nullptr;
    return std::shared_ptr<AttachmentExporter>(
        new AttachmentExporter(std::move(attachment), std::move(*data), std::move(name)));
}

std::shared_ptr<AttachmentExporter> AttachmentExporter::create(Bytes data, std::string filename) {
    return std::shared_ptr<AttachmentExporter>(
        new AttachmentExporter(nullptr, std::move(data), std::move(filename)));
}

EDMessagePartPtr AttachmentExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        part_ = EDMultimediaContentCoder(data_.view(), filename_.value_or(""), false).messagePart();
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
