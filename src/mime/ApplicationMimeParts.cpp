// SPDX-License-Identifier: Apache-2.0
// Application leaves display through the platform's icon and PDF-page services; both are
// drawn once per part and kept.
#include "mime/ApplicationMimeParts.h"

#include <fmt/format.h>

#include <algorithm>

#include "mailkit/Base64.h"
#include "mime/MediaMimeParts.h"
#include "mime/MimeConstants.h"
#include "mime/MimeTypes.h"
#include "mime/TransferEncoding.h"
#include "platform/AsciiCase.h"
#include "platform/FileData.h"
#include "platform/FileIcon.h"
#include "platform/PageRenderer.h"
#include "platform/UUID.h"

namespace qb {

namespace {

constexpr int kMaxPageWidth = 500;

std::string lastPathComponent(std::string_view path) {
    const size_t slash = path.find_last_of('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string withoutQuotes(std::string_view s) {
    while (!s.empty() && s.front() == '"')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == '"')
        s.remove_suffix(1);
    return std::string(s);
}

// Headers and Base64 body of a built file part.
void setUpFile(MimePart& part, std::string_view subtype, const Bytes& data,
               const std::string& disposition, const std::string& name) {
    part.setType("application");
    part.setSubtype(std::string(subtype));
    part.headers().setHeader(disposition, kMimeHeaderContentDisposition);
    part.headers().setHeader(fmt::format("application/{}; name=\"{}\"", subtype, name),
                             kMimeHeaderContentType);
    part.headers().setHeader(kMimeTransferEncodingBase64, kMimeHeaderContentTransferEncoding);
    part.setContentTransferEncoding(kMimeTransferEncodingBase64);
    part.setContentData(Bytes::adoptString(base64Body(data.view())));
}

}  // namespace

const MimePartClass& ApplicationMimePart::partClass() {
    static const MimePartClass cls{"ApplicationMimePart", []() -> MimePartPtr {
                                       return std::make_shared<ApplicationMimePart>();
                                   }};
    return cls;
}

const MimePartClass& ApplicationPdfMimePart::partClass() {
    static const MimePartClass cls{"ApplicationPdfMimePart", []() -> MimePartPtr {
                                       return std::make_shared<ApplicationPdfMimePart>();
                                   }};
    return cls;
}

std::string ApplicationMimePart::subtypeForFileAtPath(std::string_view path) {
    const std::string ext = lowercasedASCII(pathExtension(path));
    if (ext == "pdf" || ext == "zip") return ext;
    return "unknown";
}

std::shared_ptr<ApplicationMimePart> ApplicationMimePart::initWithPathToFile(
    const std::string& path) {
    auto data = readFileData(path);
    if (!data) return nullptr;
    auto part = std::make_shared<ApplicationMimePart>();
    const std::string name = lastPathComponent(path);
    setUpFile(*part, subtypeForFileAtPath(path), *data,
              fmt::format("attachment; filename=\"{}\"", name), name);
    return part;
}

std::shared_ptr<ApplicationPdfMimePart> ApplicationPdfMimePart::initWithPathToFile(
    const std::string& path, std::optional<std::string_view> inlineId) {
    auto data = readFileData(path);
    if (!data) return nullptr;
    auto part = std::make_shared<ApplicationPdfMimePart>();
    const std::string name = lastPathComponent(path);
    setUpFile(*part, "pdf", *data,
              fmt::format("{}; filename=\"{}\"", inlineId ? "inline" : "attachment", name), name);
    if (inlineId) {
        part->setContentId(fmt::format("<{}>", *inlineId));
        part->headers().setHeader(*part->contentId(), kMimeHeaderContentID);
    }
    return part;
}

std::optional<Bytes> ApplicationMimePart::dataContent() const {
    if (!contentData()) return std::nullopt;
    const auto cte = contentTransferEncoding();
    if (cte == kMimeTransferEncodingBase64) return dataFromBase64String(contentData()->view());
    if (cte == kMimeTransferEncoding7Bit) return contentData();
    return std::nullopt;
}

std::vector<MimePartPtr> ApplicationMimePart::attachments() {
    const auto it = contentDisposition().find("type");
    if (it != contentDisposition().end() && it->second == "attachment") return {shared_from_this()};
    return {};
}

std::vector<WebResource> ApplicationMimePart::webArchiveResources() const {
    return display_.get([this] { return prepareWebResources(); }).resources;
}

std::optional<std::string> ApplicationMimePart::webArchiveHtmlContent() const {
    return display_.get([this] { return prepareWebResources(); }).html;
}

ApplicationMimePart::Display ApplicationMimePart::iconDisplay() const {
    Display d;
    const std::string name = withoutQuotes(filename().value_or(""));
    // The file under its content ID; one without an ID gets a fresh one, so the link leads
    // somewhere.
    const std::string id = trimmedContentId();
    const std::string fileURL = "cid:" + (id.empty() ? newUUIDString() : id);
    if (auto data = dataContent())
        d.resources.push_back(
            {*data, fileURL, MIMEtype(), contentTransferEncoding().value_or(""), ""});
    auto icon = fileIconWithNamePNG(name);
    if (!icon) {
        // No icon module: the name alone, still linked to the file.
        d.html = fmt::format("<a href=\"{}\">{}</a>", fileURL, name);
        return d;
    }
    const std::string imageURL = "cid:" + newUUIDString();
    d.resources.insert(d.resources.begin(), WebResource{*icon, imageURL, "image/png", "", ""});
    d.html = fmt::format(
        "<a href=\"{}\"><img src=\"{}\" width=\"128\" style=\"border: 2px dashed #ccc; "
        "-webkit-border-radius:15px\"/></a>",
        fileURL, imageURL);
    return d;
}

ApplicationMimePart::Display ApplicationMimePart::prepareWebResources() const {
    return iconDisplay();
}

ApplicationPdfMimePart::Display ApplicationPdfMimePart::prepareWebResources() const {
    const Bytes pdf = contentData() ? dataFromBase64String(contentData()->view()) : Bytes();
    auto page = renderFirstPDFPage(pdf, kMaxPageWidth);
    if (!page) return iconDisplay();
    Display d;
    // A picture drawn here: under the part's content ID, or a fresh one when it has none.
    const std::string id = trimmedContentId();
    const std::string url = "cid:" + (id.empty() ? newUUIDString() : id);
    d.resources.push_back({page->png, url, "image/png", kMimeTransferEncodingBase64, ""});
    const std::string name = withoutQuotes(filename().value_or(""));
    d.html = fmt::format("<img src=\"{}\" width=\"{}\" />{}", url,
                         std::min(page->width, kMaxPageWidth), name.empty() ? "" : "<br />" + name);
    return d;
}

}  // namespace qb
