// SPDX-License-Identifier: Apache-2.0
// Pictures of rich text: kinds, sizes, hex and binary data, bitmaps made into BMP files.
#include "richtext/RTFPictureData.h"

#include <algorithm>
#include <array>

#include "platform/ByteReader.h"
#include "platform/HexDigits.h"
#include "platform/HugePages.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qb {

namespace {

std::optional<int32_t> scaled(std::optional<int32_t> v, int32_t scale) {
    if (!v || *v <= 0) return std::nullopt;
    const int64_t s = int64_t{*v} * std::clamp(scale, 1, 1000) / 100;
    return static_cast<int32_t>(std::min<int64_t>(s, 1'000'000));
}

void putU16(std::vector<uint8_t>& out, uint32_t v) {
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}

void putU32(std::vector<uint8_t>& out, uint32_t v) {
    putU16(out, v & 0xFFFF);
    putU16(out, v >> 16);
}

// Each byte's value as a hex digit, -1 for the others.
constexpr std::array<int8_t, 256> kValues = [] {
    std::array<int8_t, 256> t{};
    for (int c = 0; c < 256; ++c)
        t[size_t(c)] = static_cast<int8_t>(hexDigitValue(static_cast<char>(c)));
    return t;
}();

// Decodes sixteen digits at a time into `out` while every one is a hex digit, where the
// processor has the instructions for it; how many bytes it wrote.
size_t decodeDigitBlocks(const unsigned char* p, size_t size, uint8_t* out) {
    size_t written = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_set1_epi8('0' - 1), nine = _mm_set1_epi8('9' + 1);
    const __m128i a = _mm_set1_epi8('a' - 1), f = _mm_set1_epi8('f' + 1);
    for (; size >= 16; size -= 16, p += 16, written += 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i folded = _mm_or_si128(v, _mm_set1_epi8(0x20));
        // Bytes of 0x80 and up are negative here, so neither digits nor letters.
        const __m128i digit = _mm_and_si128(_mm_cmpgt_epi8(v, zero), _mm_cmplt_epi8(v, nine));
        const __m128i letter = _mm_and_si128(_mm_cmpgt_epi8(folded, a), _mm_cmplt_epi8(folded, f));
        if (_mm_movemask_epi8(_mm_or_si128(digit, letter)) != 0xFFFF) break;
        const __m128i values =
            _mm_or_si128(_mm_and_si128(digit, _mm_sub_epi8(v, _mm_set1_epi8('0'))),
                         _mm_and_si128(letter, _mm_sub_epi8(folded, _mm_set1_epi8('a' - 10))));
        // Each pair, first digit in the low byte: high nibble from it, low from the other.
        const __m128i pairs =
            _mm_or_si128(_mm_and_si128(_mm_slli_epi16(values, 4), _mm_set1_epi16(0xF0)),
                         _mm_srli_epi16(values, 8));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + written), _mm_packus_epi16(pairs, pairs));
    }
#else
    (void)p;
    (void)size;
    (void)out;
#endif
    return written;
}

}  // namespace

void RTFPictureData::applyControlWord(std::string_view w, std::optional<int32_t> param) {
    static constexpr std::string_view kKinds[] = {"pngblip",  "jpegblip", "emfblip", "wmetafile",
                                                  "dibitmap", "wbitmap",  "macpict", "pmmetafile"};
    for (auto k : kKinds)
        if (w == k) kind_ = std::string(w);
    if (!param) return;
    if (w == "picwgoal") goalWidth_ = *param;
    if (w == "pichgoal") goalHeight_ = *param;
    if (w == "picw") width_ = *param;
    if (w == "pich") height_ = *param;
    if (w == "picscalex") scaleX_ = *param;
    if (w == "picscaley") scaleY_ = *param;
}

void RTFPictureData::addHexText(std::string_view text) {
    if (binary_) return;
    // Room for every byte the text can hold, given back at the end: the digits are written
    // straight into place. Growth is geometric when the digits come in many pieces.
    const size_t start = hex_.size();
    const size_t room = text.size() / 2 + 1;
    if (hex_.capacity() - start < room) {
        hex_.reserve(std::max(hex_.capacity() * 2, start + room));
        adviseHugePages(hex_.data(), hex_.capacity());
    }
    hex_.resize(start + room);
    uint8_t* const first = hex_.data() + start;
    uint8_t* out = first;
    int pending = pendingNibble_;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        // Pairs of digits, the usual case, until something else comes.
        if (pending < 0) {
            const size_t whole = decodeDigitBlocks(p, static_cast<size_t>(end - p), out);
            p += 2 * whole;
            out += whole;
            while (end - p >= 2) {
                const int hi = kValues[p[0]], lo = kValues[p[1]];
                if ((hi | lo) < 0) break;
                *out++ = static_cast<uint8_t>(hi << 4 | lo);
                p += 2;
            }
            if (p == end) break;
        }
        const int v = kValues[*p++];
        if (v < 0) continue;
        if (pending < 0) {
            pending = v;
        } else {
            *out++ = static_cast<uint8_t>(pending << 4 | v);
            pending = -1;
        }
    }
    pendingNibble_ = pending;
    hex_.resize(start + static_cast<size_t>(out - first));
}

std::optional<StyledImage> RTFPictureData::takeImage() {
    Bytes data = binary_ ? *binary_ : Bytes::adopt(std::move(hex_));
    hex_.clear();
    if (data.empty()) return std::nullopt;
    StyledImage image;
    if (kind_ == "pngblip") {
        image.mimeType = "image/png";
    } else if (kind_ == "jpegblip") {
        image.mimeType = "image/jpeg";
    } else if (kind_ == "dibitmap") {
        auto bmp = bmpFileOfDIB(data);
        if (!bmp) return std::nullopt;
        data = std::move(*bmp);
        image.mimeType = "image/bmp";
    } else {
        return std::nullopt;
    }
    image.data = std::move(data);
    // Twips; the goal size is what the writer meant to show, the plain size a fallback
    // (in pixels for bitmaps: 15 twips each at 96 dpi).
    image.widthTwips = scaled(goalWidth_, scaleX_);
    image.heightTwips = scaled(goalHeight_, scaleY_);
    if (!image.widthTwips && width_ && *width_ > 0)
        image.widthTwips = scaled(*width_ * 15, scaleX_);
    if (!image.heightTwips && height_ && *height_ > 0)
        image.heightTwips = scaled(*height_ * 15, scaleY_);
    return image;
}

std::string mimeTypeForPictureName(std::string_view name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return {};
    std::string ext(name.substr(dot + 1));
    for (char& c : ext)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (ext == "png") return "image/png";
    if (ext == "jpg" || ext == "jpeg") return "image/jpeg";
    if (ext == "gif") return "image/gif";
    if (ext == "bmp") return "image/bmp";
    return {};
}

std::optional<Bytes> bmpFileOfDIB(const Bytes& dib) {
    ByteReader r(dib);
    const auto headerSize = r.u32le();
    if (!headerSize || *headerSize < 12 || *headerSize > dib.size()) return std::nullopt;
    uint32_t bitCount = 0, compression = 0, colorsUsed = 0;
    if (*headerSize == 12) {
        bitCount = ByteReader::u16le(dib, 10).value_or(0);
    } else {
        if (*headerSize < 40) return std::nullopt;
        bitCount = ByteReader::u16le(dib, 14).value_or(0);
        compression = ByteReader::u32le(dib, 16).value_or(0);
        colorsUsed = ByteReader::u32le(dib, 32).value_or(0);
    }
    if (bitCount == 0 || bitCount > 32) return std::nullopt;
    uint64_t palette = 0;
    const uint32_t entrySize = *headerSize == 12 ? 3 : 4;
    if (bitCount <= 8)
        palette = uint64_t{colorsUsed ? colorsUsed : (1u << bitCount)} * entrySize;
    else if (colorsUsed)
        palette = uint64_t{colorsUsed} * entrySize;
    // Bit-field masks follow a plain info header.
    if (*headerSize == 40 && (compression == 3 || compression == 6))
        palette += compression == 3 ? 12 : 16;
    const uint64_t pixels = 14 + uint64_t{*headerSize} + palette;
    if (pixels > 14 + uint64_t{dib.size()}) return std::nullopt;
    std::vector<uint8_t> out;
    out.reserve(14 + dib.size());
    out.push_back('B');
    out.push_back('M');
    putU32(out, static_cast<uint32_t>(std::min<uint64_t>(14 + dib.size(), UINT32_MAX)));
    putU32(out, 0);
    putU32(out, static_cast<uint32_t>(pixels));
    out.insert(out.end(), dib.begin(), dib.end());
    return Bytes::adopt(std::move(out));
}

}  // namespace qb
