// SPDX-License-Identifier: Apache-2.0
// Pictures and videos display only when Base64: their resource is the decoded body under
// the part's content ID.
#include "mime/MediaMimeParts.h"

#include <fmt/format.h>

#include "mailkit/Base64.h"
#include "mime/MimeConstants.h"
#include "mime/TransferEncoding.h"
#include "platform/FileData.h"

namespace qb {

bool isBase64Part(const MimePart& part) {
    const auto cte = part.contentTransferEncoding();
    return cte && *cte == kMimeTransferEncodingBase64;
}

const MimePartClass& ImageMimePart::partClass() {
    static const MimePartClass cls{
        "ImageMimePart", []() -> MimePartPtr { return std::make_shared<ImageMimePart>(); }};
    return cls;
}

const MimePartClass& VideoMimePart::partClass() {
    static const MimePartClass cls{
        "VideoMimePart", []() -> MimePartPtr { return std::make_shared<VideoMimePart>(); }};
    return cls;
}

const MimePartClass& AudioMimePart::partClass() {
    static const MimePartClass cls{
        "AudioMimePart", []() -> MimePartPtr { return std::make_shared<AudioMimePart>(); }};
    return cls;
}

std::shared_ptr<ImageMimePart> ImageMimePart::initWithData(const Bytes& data,
                                                           std::optional<std::string_view> inlineId,
                                                           std::string_view subtype,
                                                           std::string_view name) {
    auto part = std::make_shared<ImageMimePart>();
    part->setType("image");
    part->setSubtype(std::string(subtype));
    std::string filename(name);
    if (inlineId) {
        filename = std::string(inlineId->substr(0, inlineId->find('@')));
        part->setContentId(fmt::format("<{}>", *inlineId));
        part->headers().setHeader(*part->contentId(), kMimeHeaderContentID);
        part->headers().setHeader(fmt::format("inline;\r\n filename={}", filename),
                                  kMimeHeaderContentDisposition);
    } else {
        part->headers().setHeader(fmt::format("attachment;\r\n filename=\"{}\"", filename),
                                  kMimeHeaderContentDisposition);
    }
    part->headers().setHeader(
        fmt::format("image/{};\r\n x-unix-mode=0600;\r\n name=\"{}\"", subtype, filename),
        kMimeHeaderContentType);
    part->headers().setHeader(kMimeTransferEncodingBase64, kMimeHeaderContentTransferEncoding);
    part->setContentTransferEncoding(kMimeTransferEncodingBase64);
    part->setContentData(Bytes::adoptString(base64Body(data.view())));
    return part;
}

std::shared_ptr<ImageMimePart> ImageMimePart::initWithPathToFile(
    const std::string& path, std::optional<std::string_view> inlineId, std::string_view subtype) {
    auto data = readFileData(path);
    if (!data) return nullptr;
    const size_t slash = path.find_last_of('/');
    return initWithData(*data, inlineId, subtype,
                        slash == std::string::npos ? path : path.substr(slash + 1));
}

std::optional<Bytes> ImageMimePart::dataContent() const {
    if (!contentData()) return std::nullopt;
    return dataFromBase64String(contentData()->view());
}

std::vector<WebResource> ImageMimePart::webArchiveResources() const {
    if (!isBase64Part(*this) || !contentData()) return {};
    return {WebResource{dataFromBase64String(contentData()->view()), "cid:" + trimmedContentId(),
                        MIMEtype(), kMimeTransferEncodingBase64, ""}};
}

std::optional<std::string> ImageMimePart::webArchiveHtmlContent() const {
    if (!isBase64Part(*this)) return std::nullopt;
    const auto it = contentDisposition().find("filename");
    const bool named = it != contentDisposition().end();
    const std::string alt = fmt::format("alt=\"{}\"", named ? it->second : "");
    // A part without a filename shows the text a missing value prints as.
    return fmt::format("<p><img src=\"cid:{}\" {}/><br />{}</p>", trimmedContentId(), alt,
                       named ? it->second : "(null)");
}

std::optional<std::string> ImageMimePart::webArchiveData() const {
    auto fragment = webArchiveHtmlContent();
    if (!fragment) return std::nullopt;
    return htmlEnvelopeWithContents(*fragment);
}

std::optional<std::string> VideoMimePart::webArchiveHtmlContent() const {
    if (!isBase64Part(*this)) return std::nullopt;
    return fmt::format("<video controls autoplay>\n<source src=\"cid:{}\" type=\"{}\">\n</video>",
                       trimmedContentId(), MIMEtype());
}

}  // namespace qb
