// SPDX-License-Identifier: Apache-2.0
// Rewriting RTF with pictures into a directory document, and its HTML.
#include "richtext/RTFDocument.h"

#include <algorithm>

#include <fmt/format.h>

#include "mailkit/Base64.h"
#include "platform/Log.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"

namespace qb {

namespace {

// Pictures of a lower rank (metafiles, device-independent bitmaps) are left out.
constexpr int kMinimumKeptRank = 4;
// How much larger the HTML shows every font.
constexpr double kFontStep = 2.0;

// Where to search next after a picture: one character before its end, and always forward.
size_t resumeAfter(const RTFPicture& picture, size_t found, size_t textSize) {
    const size_t end = picture.tagEndPosition();
    if (end == 0) return textSize;  // no closing "}}" anywhere after it
    return std::max(end - 1, found + 1);
}

}  // namespace

std::shared_ptr<RTFDocument> RTFDocument::create(Bytes rtf) {
    std::shared_ptr<RTFDocument> doc(new RTFDocument());
    doc->rtf_ = std::move(rtf);
    doc->findPictures();
    if (doc->pictures_.empty()) return nullptr;
    doc->rewrite();
    return doc;
}

void RTFDocument::findPictures() {
    const std::string_view text = rtfString();
    // Shape pictures, each perhaps with a plain rendition for older readers.
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t found = text.find("{\\*\\shppict", pos);
        if (found == std::string_view::npos) break;
        auto picture = RTFPicture::create(rtf_, found);
        if (!picture) break;
        pos = resumeAfter(*picture, found, text.size());
        pictures_.push_back(picture);
        const size_t alt = text.find("{\\nonshppict", pos);
        if (alt == std::string_view::npos) continue;
        if (auto alternative = RTFPicture::create(rtf_, alt)) {
            pos = std::max(alternative->tagEndPosition(), alt + 1);
            if (alternative->tagEndPosition() == 0) pos = text.size();
            picture->setAlternativePicture(std::move(alternative));
        }
    }
    // Plain pictures, unless they belong to a shape picture already listed.
    const size_t shapes = pictures_.size();
    pos = 0;
    while (pos < text.size()) {
        const size_t found = text.find("{\\pict", pos);
        if (found == std::string_view::npos) break;
        auto picture = RTFPicture::create(rtf_, found);
        if (!picture) break;
        const RTFPicture* container = nullptr;
        for (size_t i = 0; i < shapes && !container; ++i) {
            const auto& listed = pictures_[i];
            if (listed->rtfTagRange().contains(picture->tagStartPosition())) container = listed.get();
            const auto& alt = listed->alternativePicture();
            if (alt && alt->rtfTagRange().contains(picture->tagStartPosition())) container = listed.get();
        }
        if (container) {
            pos = resumeAfter(*container, found, text.size());
            continue;
        }
        pos = resumeAfter(*picture, found, text.size());
        pictures_.push_back(std::move(picture));
    }
    std::stable_sort(pictures_.begin(), pictures_.end(), [](const auto& a, const auto& b) {
        return a->rtfTagRange().location < b->rtfTagRange().location;
    });
}

void RTFDocument::rewrite() {
    const std::string_view text = rtfString();
    std::string out;
    out.reserve(text.size());
    size_t e = 0;
    size_t n = 1;
    for (const auto& picture : pictures_) {
        const size_t start = picture->tagStartPosition();
        // A group that never closed, or one inside text already passed, is left as it is.
        if (start < e || picture->tagEndPosition() == 0) continue;
        out.append(text.substr(e, start - e));
        const auto& alt = picture->alternativePicture();
        if (alt && alt->tagStartPosition() >= picture->tagEndPosition() &&
            alt->tagEndPosition() > alt->tagStartPosition()) {
            out.append(text.substr(picture->tagEndPosition(),
                                   alt->tagStartPosition() - picture->tagEndPosition()));
            e = alt->tagEndPosition();
        } else {
            e = picture->tagEndPosition();
        }
        const RTFPicture& chosen =
            alt && picture->alternativeRank() < alt->alternativeRank() ? *alt : *picture;
        if (chosen.alternativeRank() < kMinimumKeptRank) continue;
        const std::string name = fmt::format("IMG{}.{}", n, chosen.extension());
        files_.emplace_back(name, chosen.pictureData());
        if (chosen.preferredWidth() && chosen.preferredHeight())
            out += fmt::format("{{{{\\NeXTGraphic {} \\width{} \\height{}}}}}", name,
                               *chosen.preferredWidth(), *chosen.preferredHeight());
        else
            out += fmt::format("{{{{\\NeXTGraphic {}}}}}", name);
        ++n;
    }
    if (e < text.size()) out.append(text.substr(e));
    files_.emplace_back(kRTFDirectoryTextName, Bytes::adoptString(std::move(out)));
}

std::optional<Bytes> RTFDocument::htmlData() const {
    std::call_once(htmlOnce_, [&] {
        RTFPictureFiles pictures;
        Bytes rtf;
        for (const auto& [name, data] : files_) {
            if (name == kRTFDirectoryTextName)
                rtf = data;
            else
                pictures.emplace(name, data);
        }
        auto styled = readRTF(rtf, &pictures);
        if (!styled) {
            logf("RTFDocument htmlData FailureReason {}", "the document is not rich text");
            return;
        }
        styled->changeFontByPointSize(kFontStep);
        const std::string html = htmlOfStyledText(*styled, 2 * rtf.size());
        // Each picture reference becomes the picture itself, in one pass over the page.
        std::string out;
        out.reserve(html.size());
        constexpr std::string_view kStart = "<img src=\"file:///";
        size_t pos = 0;
        for (size_t at = html.find(kStart); at != std::string::npos; at = html.find(kStart, pos)) {
            out.append(html, pos, at - pos);
            const size_t nameStart = at + kStart.size();
            const size_t nameEnd = html.find('"', nameStart);
            const std::string name =
                nameEnd == std::string::npos ? "" : html.substr(nameStart, nameEnd - nameStart);
            const std::string reference = fmt::format("<img src=\"file:///{0}\" alt=\"{0}\">", name);
            const auto picture = pictures.find(name);
            if (picture == pictures.end() || html.compare(at, reference.size(), reference) != 0) {
                out.append(kStart);
                pos = nameStart;
                continue;
            }
            out += fmt::format("<img src=\"data:image/jpg;base64,{}\" alt=\"{}\">",
                               base64EncodedString(picture->second.view()), name);
            pos = at + reference.size();
        }
        out.append(html, pos, std::string::npos);
        html_ = Bytes::adoptString(std::move(out));
    });
    return html_;
}

}  // namespace qb
