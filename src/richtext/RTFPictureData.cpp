// Pictures of rich text: kinds, sizes, hex and binary data, bitmaps made into BMP files.
#include "richtext/RTFPictureData.h"

#include <algorithm>
#include <array>

#include "platform/ByteReader.h"
#include "platform/HexDigits.h"

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

}  // namespace

void RTFPictureData::applyControlWord(std::string_view w, std::optional<int32_t> param) {
    static constexpr std::string_view kKinds[] = {"pngblip",   "jpegblip", "emfblip",
                                                  "wmetafile", "dibitmap", "wbitmap",
                                                  "macpict",   "pmmetafile"};
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
    // Grown geometrically: hex data arrives a line at a time.
    if (hex_.capacity() - hex_.size() < text.size() / 2)
        hex_.reserve(std::max(hex_.capacity() * 2, hex_.size() + text.size() / 2));
    static const auto kValues = [] {
        std::array<int8_t, 256> t{};
        for (int c = 0; c < 256; ++c) t[size_t(c)] = static_cast<int8_t>(hexDigitValue(static_cast<char>(c)));
        return t;
    }();
    for (unsigned char c : text) {
        const int v = kValues[c];
        if (v < 0) continue;
        if (pendingNibble_ < 0) {
            pendingNibble_ = v;
        } else {
            hex_.push_back(static_cast<uint8_t>(pendingNibble_ * 16 + v));
            pendingNibble_ = -1;
        }
    }
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
    if (!image.widthTwips && width_ && *width_ > 0) image.widthTwips = scaled(*width_ * 15, scaleX_);
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
    if (bitCount <= 8) palette = uint64_t{colorsUsed ? colorsUsed : (1u << bitCount)} * entrySize;
    else if (colorsUsed) palette = uint64_t{colorsUsed} * entrySize;
    // Bit-field masks follow a plain info header.
    if (*headerSize == 40 && (compression == 3 || compression == 6)) palette += compression == 3 ? 12 : 16;
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
