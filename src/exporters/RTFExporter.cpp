// SPDX-License-Identifier: Apache-2.0
// The RTF body exporter.
#include "exporters/RTFExporter.h"

#include "exporters/HTMLExporter.h"
#include "exporters/PlainTextExporter.h"
#include "mime/ContentCoders.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/Log.h"
#include "richtext/HTMLFontSizes.h"
#include "richtext/RTFDocument.h"
#include "richtext/RTFEncapsulation.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"
#include "richtext/StyledTextRTFWriter.h"

namespace qb {

std::optional<Bytes> rtfBodyOfMessage(const OutlookMessage& message) {
    auto rtf = bytesForProperty(message.mapiprops(), PR_RTF_COMPRESSED);
    if (!rtf || rtf->empty()) return std::nullopt;
    return rtf;
}

std::optional<Bytes> htmlDataOfString(const StyledText& text, size_t sizeHint) {
    std::string html = htmlOfStyledText(text, sizeHint);
    if (html.empty()) {
        logf("TextExporter _htmlDataOfString FailureReason {}", "the HTML writer gave nothing");
        return std::nullopt;
    }
    return Bytes::adoptString(std::move(html));
}

std::shared_ptr<RTFExporter> RTFExporter::create(std::shared_ptr<const OutlookMessage> message) {
    if (!message) return nullptr;
    auto rtf = rtfBodyOfMessage(*message);
    if (!rtf) return nullptr;
    std::shared_ptr<RTFExporter> e(new RTFExporter(std::move(message)));
    e->parseRTF(*rtf);
    if (!e->data_ && e->embbedImageAttachments_.empty()) return nullptr;
    return e;
}

void RTFExporter::parseRTF(const Bytes& rtf) {
    // RTF that a mail program made from HTML or text gives back what the sender wrote.
    if (auto original = decapsulateRTF(rtf.view())) {
        if (encapsulationOfRTF(rtf.view()) == RTFEncapsulation::HTML) {
            auto html = htmlWithFontsEnlarged(*original, kHTMLExportFontStep);
            data_ = Bytes::adoptString(html ? std::move(*html) : std::move(*original));
            filename_ = "Message.html";
            mimeType_ = "text/html";
        } else {
            // Text written as a page, in the size the other bodies are shown.
            auto styled =
                StyledText::fromPlainText(*original, kDefaultFontPoints + kHTMLExportFontStep);
            attributedString_ = std::make_shared<const StyledText>(std::move(styled));
            data_ = htmlDataOfString(*attributedString_);
            filename_ = "Message.html";
            mimeType_ = "text/html";
        }
        return;
    }

    if (auto document = RTFDocument::create(rtf)) {
        data_ = document->htmlData();
        filename_ = "Message.html";
        mimeType_ = "text/html";
        if (!data_) {
            for (const auto& [name, bytes] : document->rtfdFileWrapper()) {
                if (name == kRTFDirectoryTextName) continue;
                if (auto picture = AttachmentExporter::create(bytes, name))
                    embbedImageAttachments_.push_back(std::move(picture));
            }
        }
        return;
    }

    auto styled = readRTF(rtf);
    if (!styled) {
        data_ = rtf;
        filename_ = "Message.rtf";
        mimeType_ = "text/rtf";
        return;
    }
    styled->changeFontByPointSize(kHTMLExportFontStep);
    attributedString_ = std::make_shared<const StyledText>(std::move(*styled));
    if (auto html = htmlDataOfString(*attributedString_, 2 * rtf.size())) {
        data_ = std::move(html);
        filename_ = "Message.html";
        mimeType_ = "text/html";
        return;
    }
    data_ = Bytes::adoptString(rtfOfStyledText(*attributedString_));
    filename_ = "Message.rtf";
    mimeType_ = "text/rtf";
    // Logged on success too, as it always has been.
    logf("dataFromRange error: {}", "the styled text was written back as RTF");
}

EDMessagePartPtr RTFExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        const std::string_view bytes = data_ ? data_->view() : std::string_view();
        if (mimeType_ == "text/html")
            part_ = EDHTMLTextContentCoder(bytes).messagePart();
        else if (mimeType_ == "text/rtf")
            part_ = EDMultimediaContentCoder(data_.value_or(Bytes()), filename_.value_or(""), false)
                        .messagePart();
        else
            part_ = EDPlainTextContentCoder(bytes).messagePart();
    });
    return part_;
}

Dictionary RTFExporter::metadata() const {
    return textExporterMetadata(filename_, mimeType_);
}

}  // namespace qb
