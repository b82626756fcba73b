// SPDX-License-Identifier: Apache-2.0
// Rich-text characters: charsets to code pages, 8-bit text decoding and \uN values.
#include "richtext/RTFTextDecoder.h"

#include <algorithm>
#include <iterator>

#include "mailkit/Unicode.h"
#include "platform/StringEncoding.h"
#include "richtext/ByteScan.h"

namespace qb {

std::optional<uint32_t> codePageForRTFCharset(int32_t charset) {
    switch (charset) {
        case 0: return 1252;
        case 2: return kSymbolCodePage;
        case 77: return 10000;
        case 78: return 10001;
        case 79: return 10003;
        case 80: return 10008;
        case 81: return 10002;
        case 128: return 932;
        case 129: return 949;
        case 130: return 1361;
        case 134: return 936;
        case 136: return 950;
        case 161: return 1253;
        case 162: return 1254;
        case 163: return 1258;
        case 177: return 1255;
        case 178: return 1256;
        case 186: return 1257;
        case 204: return 1251;
        case 222: return 874;
        case 238: return 1250;
        case 254: return 437;
        case 255: return 850;
        default: return std::nullopt;
    }
}

namespace {

// Symbol fonts draw their own pictures; the few that stand for common marks are mapped, the
// rest read as the Western code page would.
std::string decodeSymbolBytes(std::string_view bytes) {
    std::string out;
    for (unsigned char c : bytes) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c == 0xB7) {
            appendUTF8(out, 0x2022);
        } else if (c == 0xA7) {
            appendUTF8(out, 0x25AA);
        } else if (c == 0xD8) {
            appendUTF8(out, 0x27A2);
        } else {
            const char b = static_cast<char>(c);
            out += decodeString(std::string_view(&b, 1), kWindowsCP1252Encoding).value_or("");
        }
    }
    return out;
}

}  // namespace

void RTFTextDecoder::setCodePage(uint32_t codePage) {
    if (codePage == codePage_) return;
    flushBytes();
    codePage_ = codePage;
}

void RTFTextDecoder::addBytes(std::string_view bytes) {
    if (highSurrogate_) {
        appendUTF8(text_, 0xFFFD);
        highSurrogate_ = 0;
    }
    bytes_.append(bytes);
}

void RTFTextDecoder::addByte(uint8_t byte) {
    const char c = static_cast<char>(byte);
    addBytes(std::string_view(&c, 1));
}

void RTFTextDecoder::addUTF8(std::string_view text) {
    flushBytes();
    if (highSurrogate_) {
        appendUTF8(text_, 0xFFFD);
        highSurrogate_ = 0;
    }
    text_.append(text);
}

void RTFTextDecoder::addUnicode(int32_t value) {
    flushBytes();
    const uint32_t unit = value < 0 ? static_cast<uint32_t>(value + 65536) : static_cast<uint32_t>(value);
    if (unit >= 0xD800 && unit <= 0xDBFF) {
        if (highSurrogate_) appendUTF8(text_, 0xFFFD);
        highSurrogate_ = static_cast<uint16_t>(unit);
        return;
    }
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
        if (highSurrogate_) {
            appendUTF8(text_, 0x10000 + ((char32_t(highSurrogate_) - 0xD800) << 10) + (unit - 0xDC00));
            highSurrogate_ = 0;
        } else {
            appendUTF8(text_, 0xFFFD);
        }
        return;
    }
    if (highSurrogate_) {
        appendUTF8(text_, 0xFFFD);
        highSurrogate_ = 0;
    }
    appendUTF8(text_, unit);
}

void RTFTextDecoder::flushBytes() {
    if (bytes_.empty()) return;
    if (bytescan::isASCII(bytes_)) {
        // Most text is ASCII and all of one piece: handed over rather than copied.
        if (text_.empty())
            text_.swap(bytes_);
        else
            text_ += bytes_;
    } else if (decodeWithTable()) {
    } else if (codePage_ == 65001 && !isValidUTF8(bytes_)) {
        // Writers that say UTF-8 but store Western bytes.
        text_ += decodeString(std::string_view(bytes_), kWindowsCP1252Encoding).value_or("");
    } else if (codePage_ == kSymbolCodePage) {
        text_ += decodeSymbolBytes(bytes_);
    } else {
        StringEncoding e = encodingForWindowsCodePage(codePage_);
        if (!isKnownEncoding(e)) e = kWindowsCP1252Encoding;
        text_ += decodeString(std::string_view(bytes_), e, true).value_or("");
    }
    bytes_.clear();
}

bool RTFTextDecoder::decodeWithTable() {
    static constexpr uint32_t kSingleByte[] = {437,  850,  852,  866,  874,  1250, 1251, 1252,
                                               1253, 1254, 1255, 1256, 1257, 1258, 10000};
    if (std::find(std::begin(kSingleByte), std::end(kSingleByte), codePage_) == std::end(kSingleByte))
        return false;
    if (tableCodePage_ != codePage_) {
        tableCodePage_ = codePage_;
        table_.clear();
        std::string upper;
        for (int b = 0x80; b <= 0xFF; ++b) upper += static_cast<char>(b);
        const auto decoded = decodeString(std::string_view(upper), encodingForWindowsCodePage(codePage_), true);
        if (!decoded) return false;
        // Each byte is one character in these code pages; anything else and the table is
        // not used.
        for (size_t i = 0; i < decoded->size() && table_.size() <= 128;) {
            const size_t start = i;
            nextCodePoint(*decoded, i);
            table_.emplace_back(decoded->substr(start, i - start));
        }
        if (table_.size() != 128) table_.clear();
    }
    if (table_.empty()) return false;
    // ASCII stretches are copied whole; each upper byte becomes its character.
    size_t start = 0;
    for (size_t i = 0; i < bytes_.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes_[i]);
        if (c < 0x80) continue;
        text_.append(bytes_, start, i - start);
        text_ += table_[c - 0x80];
        start = i + 1;
    }
    text_.append(bytes_, start, bytes_.size() - start);
    return true;
}

std::string RTFTextDecoder::take() {
    flushBytes();
    if (highSurrogate_) {
        appendUTF8(text_, 0xFFFD);
        highSurrogate_ = 0;
    }
    std::string out;
    out.swap(text_);
    return out;
}

}  // namespace qb
