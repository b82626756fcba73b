// SPDX-License-Identifier: Apache-2.0
// Text leaves decode their body by transfer encoding and read it in the part's narrow
// charset table; built ones choose 7bit ASCII or quoted-printable.
#include "mime/TextMimeParts.h"

#include <fmt/format.h>

#include "mailkit/Base64.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/MimeEncoding.h"
#include "mailkit/Unicode.h"
#include "mime/MimeConstants.h"

namespace qb {

namespace {

bool hasEncoding(const MimePart& part, const char* encoding) {
    const auto cte = part.contentTransferEncoding();
    return cte && *cte == encoding;
}

}  // namespace

const MimePartClass& TextMimePart::partClass() {
    static const MimePartClass cls{
        "TextMimePart", []() -> MimePartPtr { return std::make_shared<TextMimePart>(); }};
    return cls;
}

const MimePartClass& TextHtmlMimePart::partClass() {
    static const MimePartClass cls{
        "TextHtmlMimePart", []() -> MimePartPtr { return std::make_shared<TextHtmlMimePart>(); }};
    return cls;
}

void TextMimePart::setUpBuilt(std::string_view subtype, std::string_view text,
                              StringEncoding encoding, std::string_view transferEncoding,
                              bool* ok) {
    setType("text");
    setSubtype(std::string(subtype));
    setContentTransferEncoding(std::string(transferEncoding));
    if (isASCII(text)) {
        headers().setHeader(kMimeTransferEncoding7Bit, kMimeHeaderContentTransferEncoding);
        setCharset(kMimeContentEncodingUSASCII);
        headers().setHeader(
            fmt::format("text/{}; charset={}", subtype, kMimeContentEncodingUSASCII),
            kMimeHeaderContentType);
        setContentData(Bytes::fromString(text));
        *ok = true;
        return;
    }
    StringEncoding used = 0;
    auto body = quotedPrintableStringForPlainTextBody(text, encoding, &used);
    const auto label = MKcharSetNameForEncoding(used);
    if (!body || !label) {
        *ok = false;
        return;
    }
    headers().setHeader(kMimeTransferEncodingQuotedPrintable, kMimeHeaderContentTransferEncoding);
    setCharset(*label);
    headers().setHeader(fmt::format("text/{}; charset={}", subtype, *label),
                        kMimeHeaderContentType);
    setContentData(Bytes::adoptString(std::move(*body)));
    *ok = true;
}

std::shared_ptr<TextMimePart> TextMimePart::initWithPlainText(std::string_view text,
                                                              StringEncoding encoding,
                                                              std::string_view transferEncoding) {
    auto part = std::make_shared<TextMimePart>();
    bool ok = false;
    part->setUpBuilt("plain", text, encoding, transferEncoding, &ok);
    return ok ? part : nullptr;
}

std::shared_ptr<TextHtmlMimePart> TextHtmlMimePart::initWithHtmlString(
    std::string_view html, StringEncoding encoding, std::string_view transferEncoding) {
    auto part = std::make_shared<TextHtmlMimePart>();
    bool ok = false;
    part->setUpBuilt("html", html, encoding, transferEncoding, &ok);
    return ok ? part : nullptr;
}

std::optional<std::string> TextMimePart::plainContent() const {
    if (subtype() != "plain" || !contentData()) return std::nullopt;
    const std::string_view body = contentData()->view();
    if (hasEncoding(*this, kMimeTransferEncodingQuotedPrintable))
        return decodedQuotedPrintableString(body, stringEncoding());
    if (hasEncoding(*this, kMimeTransferEncodingBase64))
        return decodeString(NewBase64Decode(body), stringEncoding(), false);
    return decodeString(body, stringEncoding(), false);
}

std::optional<std::string> TextMimePart::webArchivePlainContent() const {
    auto text = plainContent();
    if (!text) return std::nullopt;
    return fmt::format("<pre style=\"white-space: pre-wrap\">{}</pre>\n",
                       stringByEscapingForAsciiHTMLContent(*text));
}

std::optional<std::string> TextMimePart::webArchiveData() const {
    auto fragment = webArchiveHtmlContent();
    if (!fragment) fragment = webArchivePlainContent();
    if (!fragment || fragment->empty()) return std::nullopt;
    return htmlEnvelopeWithContents(*fragment);
}

std::optional<std::string> TextHtmlMimePart::htmlContent() const {
    if (!contentData()) return std::nullopt;
    const std::string_view body = contentData()->view();
    if (hasEncoding(*this, kMimeTransferEncodingQuotedPrintable))
        return htmlEncodedStringFromQuotedPrintableString(body, stringEncoding());
    if (hasEncoding(*this, kMimeTransferEncodingBase64))
        return decodeString(NewBase64Decode(body), stringEncoding(), false);
    return decodeString(body, stringEncoding(), false);
}

}  // namespace qb
