// SPDX-License-Identifier: Apache-2.0
// Boundaries drawn from the parts themselves, so exporting the same message twice gives the
// same bytes; text goes as 7bit when it can, else UTF-8 quoted-printable.
#include "mime/ContentCoders.h"

#include <fmt/format.h>

#include "mime/FieldCoders.h"
#include "mime/MimeConstants.h"
#include "mime/MimeTypes.h"
#include "mime/TransferEncoding.h"
#include "platform/StringEncoding.h"
#include "platform/UUID.h"

namespace qb {

namespace {

EDMessagePartPtr textPart(std::string_view subtype, std::string_view text) {
    auto part = std::make_shared<EDMessagePart>();
    std::string body = canonicalLineEnds(text);
    if (isSevenBitClean(body)) {
        part->headers().setHeader(
            fmt::format("text/{}; charset={}", subtype, kMimeContentEncodingUSASCII),
            kMimeHeaderContentType);
        part->headers().setHeader(kMimeTransferEncoding7Bit, kMimeHeaderContentTransferEncoding);
        part->setContentData(std::move(body));
        return part;
    }
    // Text that is not UTF-8 has no business here; replace what cannot be read.
    if (!isValidUTF8(body)) body = decodeString(body, kUTF8Encoding, true).value_or("");
    part->headers().setHeader(fmt::format("text/{}; charset={}", subtype, kMimeContentEncodingUTF8),
                              kMimeHeaderContentType);
    part->headers().setHeader(kMimeTransferEncodingQuotedPrintable,
                              kMimeHeaderContentTransferEncoding);
    part->setContentData(quotedPrintableBody(body));
    return part;
}

}  // namespace

std::string newBoundary() {
    return fmt::format(kMimeMultipartBoundaryFormatString, newUUIDString());
}

std::string boundaryForParts(std::string_view subtype, size_t position,
                             const std::vector<EDMessagePartPtr>& parts) {
    NameBasedUUID uuid;
    uuid.add(subtype);
    uuid.add(fmt::format("\n{}\n", position));
    for (const auto& p : parts) {
        const std::string head = p->headers().foldedHeaderString();
        // Lengths first, so that no two different lists of parts hash the same pieces.
        uuid.add(fmt::format("{} {}\n", head.size(), p->content().size()));
        uuid.add(head);
        p->content().write([&](std::string_view piece) {
            uuid.add(piece);
            return true;
        });
    }
    return fmt::format(kMimeMultipartBoundaryFormatString, uuid.finish());
}

namespace {

// One delimiter rule for every multipart body, built and parsed parts alike.
template <class Part, class HeadersOf, class AppendContent>
MimeBody assembleParts(std::string_view boundary, const std::vector<Part>& parts,
                       HeadersOf headersOf, AppendContent appendContent) {
    MimeBody body;
    bool first = true;
    for (const auto& p : parts) {
        body.append(fmt::format("{}--{}\r\n{}\r\n\r\n", first ? "" : "\r\n", boundary,
                                headersOf(p).foldedHeaderString()));
        appendContent(body, p);
        first = false;
    }
    body.append(fmt::format("\r\n--{}--\r\n", boundary));
    return body;
}

}  // namespace

std::string assembleMultipartBody(std::string_view boundary,
                                  const std::vector<MultipartPiece>& parts) {
    return assembleParts(
               boundary, parts,
               [](const MultipartPiece& p) -> const MKMimeHeaders& { return *p.headers; },
               [](MimeBody& body, const MultipartPiece& p) { body.append(p.content); })
        .str();
}

MimeBody assembleMultipartBody(std::string_view boundary,
                               const std::vector<EDMessagePartPtr>& parts) {
    return assembleParts(
        boundary, parts,
        [](const EDMessagePartPtr& p) -> const MKMimeHeaders& { return p->headers(); },
        [](MimeBody& body, const EDMessagePartPtr& p) { body.append(p->content()); });
}

EDMessagePartPtr EDPlainTextContentCoder::messagePart() const {
    return textPart("plain", text_);
}

EDMessagePartPtr EDHTMLTextContentCoder::messagePart() const {
    return textPart("html", html_);
}

EDMessagePartPtr EDMultimediaContentCoder::messagePart() const {
    auto part = std::make_shared<EDMessagePart>();
    std::string type = mimeTypeForFilename(filename_);
    std::string encoding = kMimeTransferEncodingBase64;
    if (type == "message/rfc822") {
        if (isSevenBitClean(data_))
            encoding = kMimeTransferEncoding7Bit;
        else if (isEightBitClean(data_))
            encoding = kMimeTransferEncoding8Bit;
        else
            type = "application/octet-stream";
    }
    part->headers().setHeader(fmt::format("{}; {}", type, headerParameter("name", filename_)),
                              kMimeHeaderContentType);
    part->headers().setHeader(fmt::format("{}; {}", inline_ ? "inline" : "attachment",
                                          headerParameter("filename", filename_)),
                              kMimeHeaderContentDisposition);
    part->headers().setHeader(encoding, kMimeHeaderContentTransferEncoding);
    part->setContent(encoding == kMimeTransferEncodingBase64 ? MimeBody::base64Of(data_) : data_);
    return part;
}

EDMessagePartPtr EDCompositeContentCoder::messagePartWithSubtype(std::string_view subtype,
                                                                 size_t position) const {
    auto part = std::make_shared<EDMessagePart>();
    const std::string boundary = boundaryForParts(subtype, position, subparts_);
    part->headers().setHeader(
        fmt::format("{}/{};\r\n boundary=\"{}\"", kMimeTypeMultipart, subtype, boundary),
        kMimeHeaderContentType);
    part->setContent(assembleMultipartBody(boundary, subparts_));
    return part;
}

EDMessagePartPtr EDCompositeContentCoder::message() const {
    EDMessagePartPtr part;
    if (subparts_.empty()) {
        part = EDPlainTextContentCoder("").messagePart();
    } else {
        part = messagePartWithSubtype(kMimeMultipartSubtypeMixed);
    }
    // The version first, so it leads the fields after the addressing ones.
    auto fields = part->headers().headerDictionary();
    fields.insert(fields.begin(), {"MIME-Version", {"1.0"}});
    part->headers().setHeaderDictionary(std::move(fields));
    return part;
}

}  // namespace qb
