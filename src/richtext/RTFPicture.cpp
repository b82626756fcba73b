// SPDX-License-Identifier: Apache-2.0
// Locating and classifying the picture groups of an RTF document.
#include "richtext/RTFPicture.h"

#include <array>

namespace qb {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

struct PictureKind {
    std::string_view keyword;
    std::string_view extension;
    int rank;
};

// Checked in this order; the last keyword the group holds decides.
constexpr std::array<PictureKind, 8> kKinds{{{"\\emfblip", "emf", 1},
                                             {"\\pngblip", "png", 10},
                                             {"\\jpegblip", "jpg", 10},
                                             {"\\macpict", "pict", 8},
                                             {"\\pmmetafile", "MET", 0},
                                             {"\\wmetafile", "wmf", 1},
                                             {"\\dibitmap", "dib", 2},
                                             {"\\wbitmap", "bmp", 5}}};

}  // namespace

std::shared_ptr<RTFPicture> RTFPicture::create(const Bytes& rtf, size_t location) {
    const std::string_view text = rtf.view();
    const size_t bin = text.find("\\bin", location);
    if (bin == std::string_view::npos) return nullptr;
    size_t p = bin + 4;
    while (p < text.size() && !isDigit(text[p]))
        ++p;
    if (p >= text.size()) return nullptr;
    size_t count = 0;
    bool overflow = false;
    for (; p < text.size() && isDigit(text[p]); ++p) {
        if (count > (SIZE_MAX - 9) / 10) overflow = true;
        count = count * 10 + static_cast<size_t>(text[p] - '0');
    }
    std::shared_ptr<RTFPicture> picture(new RTFPicture());
    picture->text_ = text;
    picture->tagStart_ = location;
    // The count's one delimiter is skipped; a count past the end takes what is there.
    const size_t dataStart = p + 1 < text.size() ? p + 1 : text.size();
    const size_t available = text.size() - dataStart;
    const size_t length = overflow || count > available ? available : count;
    picture->dataRange_ = {dataStart, length};
    picture->data_ = rtf.slice(dataStart, length);
    const size_t close = text.find("}}", dataStart + length);
    if (close != std::string_view::npos) {
        picture->tagEnd_ = close + 2;
        picture->tagRange_ = {location, picture->tagEnd_ - location};
    } else {
        picture->tagRange_ = {location, 0};
    }
    picture->scanForFileExtension();
    picture->scanForPictureSize();
    return picture;
}

bool RTFPicture::groupContains(std::string_view keyword) const {
    if (tagEnd_ <= tagStart_) return false;
    const size_t at = text_.find(keyword, tagStart_);
    return at != std::string_view::npos && at < tagEnd_;
}

void RTFPicture::scanForFileExtension() {
    extension_ = "bmp";
    rank_ = 5;
    for (const auto& kind : kKinds) {
        if (!groupContains(kind.keyword)) continue;
        extension_ = std::string(kind.extension);
        rank_ = kind.rank;
    }
}

std::optional<std::string> RTFPicture::digitsAfter(std::string_view keyword) const {
    const size_t at = text_.find(keyword, tagStart_);
    if (at == std::string_view::npos || at >= tagEnd_) return std::nullopt;
    size_t p = at + keyword.size();
    while (p < text_.size() && !isDigit(text_[p]))
        ++p;
    size_t end = p;
    while (end < text_.size() && isDigit(text_[end]) && end - p < 10)
        ++end;
    if (end == p) return std::nullopt;
    return std::string(text_.substr(p, end - p));
}

void RTFPicture::scanForPictureSize() {
    width_ = digitsAfter("\\picwgoal");
    height_ = digitsAfter("\\pichgoal");
}

}  // namespace qb
