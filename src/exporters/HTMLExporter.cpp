// SPDX-License-Identifier: Apache-2.0
// Finding the body (string or binary property, in the internet code page) and passing it
// through the font step unless it nests too deep for the HTML parser.
#include "exporters/HTMLExporter.h"

#include "exporters/HTMLNesting.h"
#include "exporters/PlainTextExporter.h"
#include "mime/ContentCoders.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "richtext/HTMLFontSizes.h"
#include "richtext/HTMLStyledTextReader.h"

namespace qb {

namespace {

struct HTMLBody {
    Bytes data;
    StringEncoding encoding;
    bool enlarged = false;  // the font step has been applied to `data`
};

std::optional<HTMLBody> htmlBodyOfMessage(const OutlookMessage& message) {
    const MAPIPropList* props = message.mapiprops();
    StringEncoding encoding = message.encoding();
    if (auto cp = uint32ForProperty(props, PR_INTERNET_CPID)) {
        const StringEncoding e = encodingForWindowsCodePage(*cp);
        if (isKnownEncoding(e)) encoding = e;
    }

    std::optional<std::string> text = stringForProperty(props, PR_BODY_HTML_STRING8);
    if (!text) {
        const MAPIData v = valueForPropID(props, propId(PR_BODY_HTML), PT_BINARY);
        if (const auto* b = std::get_if<Bytes>(&v)) {
            // A stray byte should not cost the whole body.
            text = decodeString(b->view(), encoding);
            if (!text) text = decodeString(b->view(), encoding, true);
        }
    }
    if (!text || text->empty()) return std::nullopt;

    auto bytes = encodeString(*text, encoding, true);
    if (!bytes) {
        bytes = *text;
        encoding = kUTF8Encoding;
    }
    // Too deep for the HTML step, which would drop what lies deeper: the body as it is.
    if (htmlNestsDeeperThan(*text, kMaxHTMLStepDepth))
        return HTMLBody{Bytes::fromString(*bytes), encoding};
    if (auto html = htmlWithFontsEnlarged(*text, kHTMLExportFontStep))
        return HTMLBody{Bytes::fromString(*html), kUTF8Encoding, true};
    return HTMLBody{Bytes::fromString(*bytes), encoding};
}

}  // namespace

HTMLExporter::HTMLExporter(std::shared_ptr<const OutlookMessage> message, Bytes data,
                           StringEncoding encoding)
    : message_(std::move(message)), data_(std::move(data)), dataEncoding_(encoding) {}

std::shared_ptr<HTMLExporter> HTMLExporter::create(std::shared_ptr<const OutlookMessage> message) {
    if (!message) return nullptr;
    auto body = htmlBodyOfMessage(*message);
    if (!body) {
        auto mime = message->mimeHtmlBodyContent();
        if (!mime || mime->empty()) return nullptr;
        body = HTMLBody{Bytes::fromString(*mime), kUTF8Encoding};
    }
    auto e = std::shared_ptr<HTMLExporter>(
        new HTMLExporter(std::move(message), std::move(body->data), body->encoding));
    e->fontsEnlarged_ = body->enlarged;
    return e;
}

EDMessagePartPtr HTMLExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        auto text = decodeString(data_.view(), dataEncoding_, true).value_or("");
        part_ = EDHTMLTextContentCoder(text).messagePart();
    });
    return part_;
}

std::shared_ptr<const StyledText> HTMLExporter::attributedString() const {
    std::call_once(styledOnce_, [&] {
        const auto text = decodeString(data_.view(), dataEncoding_, true);
        if (!text) return;
        if (auto styled = readHTML(*text)) {
            if (!fontsEnlarged_) styled->changeFontByPointSize(kHTMLExportFontStep);
            styled_ = std::make_shared<const StyledText>(std::move(*styled));
        }
    });
    return styled_;
}

Dictionary HTMLExporter::metadata() const {
    return textExporterMetadata(filename_, *mimeType());
}

}  // namespace qb
