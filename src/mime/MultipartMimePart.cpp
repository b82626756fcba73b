// SPDX-License-Identifier: Apache-2.0
// Multipart display by concatenating the children's output, and body assembly through the
// same delimiter writer the exporters' MIME builder uses.
#include "mime/MultipartMimePart.h"

#include <fmt/format.h>

#include <algorithm>

#include "mime/ContentCoders.h"
#include "mime/MimeConstants.h"
#include "platform/Log.h"

namespace qb {

namespace {

// The children's results of one operation, in order, absent ones skipped; nothing when
// no child gives one.
template <class Get>
std::optional<std::string> concatenated(const std::vector<MimePartPtr>& parts, Get get) {
    std::optional<std::string> out;
    for (const auto& p : parts) {
        if (auto piece = get(*p)) {
            if (!out) out.emplace();
            *out += *piece;
        }
    }
    return out;
}

}  // namespace

const MimePartClass& MultipartMimePart::partClass() {
    static const MimePartClass cls{
        "MultipartMimePart", []() -> MimePartPtr { return std::make_shared<MultipartMimePart>(); }};
    return cls;
}

const MimePartClass& MultipartAlternativeMimePart::partClass() {
    static const MimePartClass cls{"MultipartAlternativeMimePart", []() -> MimePartPtr {
                                       return std::make_shared<MultipartAlternativeMimePart>();
                                   }};
    return cls;
}

const MimePartClass& MultipartRelatedMimePart::partClass() {
    static const MimePartClass cls{"MultipartRelatedMimePart", []() -> MimePartPtr {
                                       return std::make_shared<MultipartRelatedMimePart>();
                                   }};
    return cls;
}

std::string MultipartMimePart::newBoundary() {
    return qb::newBoundary();
}

void MultipartMimePart::setUpBuilt(std::string_view subtype) {
    setType(kMimeTypeMultipart);
    setSubtype(std::string(subtype));
    setBoundary(newBoundary());
    isMutable_ = true;
    headers() = MKMimeHeaders();
    headers().setHeader(
        fmt::format("{}/{};\r\n boundary=\"{}\"", kMimeTypeMultipart, subtype, *boundary()),
        kMimeHeaderContentType);
}

std::shared_ptr<MultipartMimePart> MultipartMimePart::initWithSubtype(std::string_view subtype) {
    auto part = std::make_shared<MultipartMimePart>();
    part->setUpBuilt(subtype);
    return part;
}

void MultipartMimePart::addPart(const MimePartPtr& part) {
    if (!isMutable_) {
        log("Cannot Mutate Multipart part");
        return;
    }
    if (!part) return;
    if (std::find(subParts_.begin(), subParts_.end(), part) == subParts_.end())
        subParts_.push_back(part);
    // The whole body again, so it always matches the children.
    std::vector<MultipartPiece> pieces;
    pieces.reserve(subParts_.size());
    for (const auto& p : subParts_)
        pieces.push_back({&p->headers(), p->contentData() ? p->contentData()->view() : ""});
    setContentData(Bytes::adoptString(assembleMultipartBody(boundary().value_or(""), pieces)));
}

std::optional<std::string> MultipartMimePart::webArchivePlainContent() const {
    return concatenated(subParts_, [](const MimePart& p) { return p.webArchivePlainContent(); });
}
std::optional<std::string> MultipartMimePart::webArchiveHtmlContent() const {
    return concatenated(subParts_, [](const MimePart& p) { return p.webArchiveHtmlContent(); });
}
std::optional<std::string> MultipartMimePart::htmlContent() const {
    return concatenated(subParts_, [](const MimePart& p) { return p.htmlContent(); });
}
std::optional<std::string> MultipartMimePart::plainContent() const {
    return concatenated(subParts_, [](const MimePart& p) { return p.plainContent(); });
}

std::optional<std::string> MultipartMimePart::webArchiveData() const {
    auto body = concatenated(subParts_, [](const MimePart& p) {
        auto html = p.webArchiveHtmlContent();
        return html ? html : p.webArchivePlainContent();
    });
    if (!body) return std::nullopt;
    return htmlEnvelopeWithContents(*body);
}

std::vector<WebResource> MultipartMimePart::webArchiveResources() const {
    std::vector<WebResource> out;
    for (const auto& p : subParts_) {
        auto more = p->webArchiveResources();
        out.insert(out.end(), std::make_move_iterator(more.begin()),
                   std::make_move_iterator(more.end()));
    }
    return out;
}

MimePartPtr MultipartMimePart::partWithContentID(std::string_view contentID) {
    for (const auto& p : subParts_)
        if (auto found = p->partWithContentID(contentID)) return found;
    return nullptr;
}

std::vector<MimePartPtr> MultipartMimePart::attachments() {
    std::vector<MimePartPtr> out;
    for (const auto& p : subParts_) {
        auto more = p->attachments();
        out.insert(out.end(), more.begin(), more.end());
    }
    return out;
}

std::shared_ptr<MultipartAlternativeMimePart> MultipartAlternativeMimePart::initWithPlainPart(
    const MimePartPtr& plain, const MimePartPtr& html) {
    auto part = std::make_shared<MultipartAlternativeMimePart>();
    part->setUpBuilt(kMimeMultipartSubtypeAternative);
    part->addPart(plain);
    part->addPart(html);
    return part;
}

std::optional<std::string> MultipartAlternativeMimePart::webArchiveData() const {
    auto body =
        concatenated(subParts_, [](const MimePart& p) { return p.webArchiveHtmlContent(); });
    if (!body)
        body =
            concatenated(subParts_, [](const MimePart& p) { return p.webArchivePlainContent(); });
    if (!body) return std::nullopt;
    return htmlEnvelopeWithContents(*body);
}

std::shared_ptr<MultipartRelatedMimePart> MultipartRelatedMimePart::initWithHtmlPart(
    const MimePartPtr& html, const std::vector<MimePartPtr>& related) {
    auto part = std::make_shared<MultipartRelatedMimePart>();
    part->setUpBuilt(kMimeMultipartSubtypeRelated);
    part->addPart(html);
    for (const auto& r : related)
        part->addPart(r);
    part->headers().setHeader(
        fmt::format("{}/{};\r\n type=\"{}\";\r\n boundary=\"{}\"", kMimeTypeMultipart,
                    kMimeMultipartSubtypeRelated, "text/html", *part->boundary()),
        kMimeHeaderContentType);
    return part;
}

}  // namespace qb
