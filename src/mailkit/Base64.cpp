// SPDX-License-Identifier: Apache-2.0
// A table-driven coder of our own; decoding skips anything outside the alphabet, so it
// never fails on the broken line breaks and padding real mail carries.
#include "mailkit/Base64.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/StringEncoding.h"

namespace qb {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kSkip = 0xFF;

constexpr std::array<uint8_t, 256> makeDecodeTable() {
    std::array<uint8_t, 256> t{};
    for (auto& v : t)
        v = kSkip;
    for (uint8_t i = 0; i < 64; ++i)
        t[static_cast<unsigned char>(kAlphabet[i])] = i;
    return t;
}
constexpr auto kDecode = makeDecodeTable();

}  // namespace

namespace {

// Encodes whole groups of three bytes (`in.size()` a multiple of 3) into `out`, which has
// room for four characters a group.
// The two characters of every 12 bits, so a group of three bytes takes two look-ups.
constexpr std::array<char, 8192> kPairs = [] {
    std::array<char, 8192> t{};
    for (size_t i = 0; i < 4096; ++i) {
        t[2 * i] = kAlphabet[i >> 6];
        t[2 * i + 1] = kAlphabet[i & 63];
    }
    return t;
}();

void encodeGroups(const unsigned char* in, size_t size, char* out) {
    for (size_t i = 0; i < size; i += 3, out += 4) {
        const uint32_t v = uint32_t(in[i]) << 16 | uint32_t(in[i + 1]) << 8 | in[i + 2];
        std::memcpy(out, &kPairs[(v >> 12) * 2], 2);
        std::memcpy(out + 2, &kPairs[(v & 4095) * 2], 2);
    }
}

// The last one or two bytes, padded.
void encodeTail(const unsigned char* in, size_t n, char* out) {
    const uint32_t v = uint32_t(in[0]) << 16 | (n > 1 ? uint32_t(in[1]) << 8 : 0);
    out[0] = kAlphabet[v >> 18];
    out[1] = kAlphabet[(v >> 12) & 63];
    out[2] = n > 1 ? kAlphabet[(v >> 6) & 63] : '=';
    out[3] = '=';
}

}  // namespace

void appendBase64(std::string& out, std::string_view bytes) {
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t whole = bytes.size() / 3 * 3;
    const size_t at = out.size();
    out.resize(at + (bytes.size() + 2) / 3 * 4);
    encodeGroups(in, whole, out.data() + at);
    if (whole < bytes.size())
        encodeTail(in + whole, bytes.size() - whole, out.data() + at + whole / 3 * 4);
}

std::string base64Lines(std::string_view in, size_t lineLength, bool breakAfterLast) {
    const size_t bytesPerLine = lineLength / 4 * 3;
    std::string out;
    if (in.empty() || bytesPerLine == 0) return out;
    const size_t lines = (in.size() + bytesPerLine - 1) / bytesPerLine;
    out.resize((in.size() + 2) / 3 * 4 + (lines - (breakAfterLast ? 0 : 1)) * 2);
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    char* o = out.data();
    for (size_t i = 0; i < in.size(); i += bytesPerLine) {
        if (i && !breakAfterLast) {
            *o++ = '\r';
            *o++ = '\n';
        }
        const size_t n = std::min(bytesPerLine, in.size() - i);
        const size_t whole = n / 3 * 3;
        encodeGroups(p + i, whole, o);
        o += whole / 3 * 4;
        if (whole < n) {
            encodeTail(p + i + whole, n - whole, o);
            o += 4;
        }
        if (breakAfterLast) {
            *o++ = '\r';
            *o++ = '\n';
        }
    }
    return out;
}

std::string NewBase64Encode(std::string_view in, bool separateLines) {
    if (separateLines) return base64Lines(in, 64, true);
    std::string out;
    appendBase64(out, in);
    return out;
}

std::string NewBase64Decode(std::string_view text) {
    std::string out;
    out.reserve(text.size() / 4 * 3 + 3);
    uint32_t acc = 0;
    int count = 0;
    for (unsigned char c : text) {
        const uint8_t v = kDecode[c];
        if (v == kSkip) continue;
        acc = (acc << 6) | v;
        if (++count == 4) {
            out += static_cast<char>(acc >> 16);
            out += static_cast<char>(acc >> 8);
            out += static_cast<char>(acc);
            acc = 0;
            count = 0;
        }
    }
    if (count == 2) {
        out += static_cast<char>(acc >> 4);
    } else if (count == 3) {
        out += static_cast<char>(acc >> 10);
        out += static_cast<char>(acc >> 2);
    }
    return out;
}

Bytes dataFromBase64String(std::string_view text) {
    std::string decoded = NewBase64Decode(text);
    return Bytes::adopt(std::vector<uint8_t>(decoded.begin(), decoded.end()));
}

std::string base64EncodedString(std::string_view bytes) {
    return NewBase64Encode(bytes, false);
}

std::string pathSafeBase64EncodedString(std::string_view bytes) {
    std::string s = NewBase64Encode(bytes, false);
    for (char& c : s) {
        if (c == '/')
            c = '-';
        else if (c == '+')
            c = '_';
    }
    return s;
}

std::string base64EncodedUTF8String(std::string_view utf8) {
    return NewBase64Encode(utf8, false);
}

std::optional<std::string> base64DecodedString(std::string_view base64) {
    std::string bytes = NewBase64Decode(base64);
    if (!isValidUTF8(bytes)) return std::nullopt;
    return bytes;
}

std::optional<std::string> stringByConvertingLiteralsToBase64(std::string_view data) {
    if (data.size() < 2) return std::nullopt;
    std::string out;
    size_t copied = 0;  // everything before this has been written
    size_t search = 0;
    for (;;) {
        const size_t crlf = data.find("\r\n", search);
        if (crlf == std::string_view::npos) break;
        if (crlf == 0 || data[crlf - 1] != '}') {
            search = crlf + 2;
            continue;
        }
        const size_t open = data.rfind('{', crlf - 1);
        if (open == std::string_view::npos || open < copied) return std::nullopt;
        uint64_t count = 0;
        for (size_t k = open + 1; k + 1 < crlf; ++k) {
            const char d = data[k];
            if (d < '0' || d > '9') break;
            count = count * 10 + uint64_t(d - '0');
            if (count > data.size()) break;
        }
        const size_t literal = crlf + 2;
        if (count > data.size() - literal) return std::nullopt;
        out.append(data.substr(copied, open - copied));
        const std::string encoded = NewBase64Encode(data.substr(literal, size_t(count)), false);
        // Appended piece by piece: `"{" + std::string` makes g++ 12 at -O3 warn
        // (-Wrestrict) about an overlap that cannot happen.
        out += '{';
        out += std::to_string(encoded.size());
        out += "}\r\n";
        out += encoded;
        copied = search = literal + size_t(count);
    }
    out.append(data.substr(copied));
    return out;
}

}  // namespace qb
