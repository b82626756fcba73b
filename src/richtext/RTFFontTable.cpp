// SPDX-License-Identifier: Apache-2.0
// The rich-text font table.
#include "richtext/RTFFontTable.h"

namespace qb {

namespace {

// Tables larger than this are hostile; later fonts are ignored.
constexpr size_t kMaxFonts = 4096;
constexpr size_t kMaxNameBytes = 256;

}  // namespace

void RTFFontTable::controlWord(std::string_view w, int32_t p, uint32_t documentCodePage) {
    if (w == "f") {
        endFont();
        if (fonts_.size() >= kMaxFonts && !fonts_.count(p)) return;
        current_ = p;
        fonts_[p] = RTFFont{};
        nameDone_ = false;
        name_.setCodePage(documentCodePage);
        return;
    }
    if (current_ < 0) return;
    RTFFont& f = fonts_[current_];
    if (w == "fcharset") {
        f.codePage = codePageForRTFCharset(p);
        name_.setCodePage(f.codePage.value_or(documentCodePage));
    } else if (w == "fswiss") {
        f.genericFamily = "sans-serif";
    } else if (w == "froman") {
        f.genericFamily = "serif";
    } else if (w == "fmodern") {
        f.genericFamily = "monospace";
    } else if (w == "fscript") {
        f.genericFamily = "cursive";
    }
}

void RTFFontTable::text(std::string_view bytes) {
    if (current_ < 0 || nameDone_) return;
    const size_t semicolon = bytes.find(';');
    std::string_view part = bytes.substr(0, semicolon);
    if (part.size() > kMaxNameBytes) part = part.substr(0, kMaxNameBytes);
    name_.addBytes(part);
    if (semicolon != std::string_view::npos) endFont();
}

void RTFFontTable::hexByte(uint8_t byte) {
    if (current_ < 0 || nameDone_) return;
    name_.addByte(byte);
}

void RTFFontTable::endFont() {
    if (current_ < 0) return;
    if (!nameDone_) {
        std::string name = name_.take();
        size_t b = 0, e = name.size();
        while (b < e && name[b] == ' ') ++b;
        while (e > b && name[e - 1] == ' ') --e;
        fonts_[current_].name = name.substr(b, e - b);
        nameDone_ = true;
    }
}

const RTFFont* RTFFontTable::font(int32_t index) const {
    auto it = fonts_.find(index);
    return it == fonts_.end() ? nullptr : &it->second;
}

uint32_t RTFFontTable::codePageOf(int32_t index, uint32_t documentCodePage) const {
    const RTFFont* f = font(index);
    if (!f || !f->codePage) return documentCodePage;
    // A Western font in a document of another code page: the document's code page is what
    // the writer used for the bytes.
    if (*f->codePage == 1252 && documentCodePage != 1252) return documentCodePage;
    return *f->codePage;
}

}  // namespace qb
