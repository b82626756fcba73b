// A table-driven coder of our own; decoding skips anything outside the alphabet, so it
// never fails on the broken line breaks and padding real mail carries.
#include "mailkit/Base64.h"

#include <array>

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

std::string NewBase64Encode(std::string_view in, bool separateLines) {
    std::string out;
    const size_t groups = (in.size() + 2) / 3;
    out.reserve(groups * 4 + (separateLines ? (in.size() / 48 + 1) * 2 : 0));
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    size_t lineBytes = 0;
    for (size_t i = 0; i < in.size(); i += 3) {
        const size_t n = std::min<size_t>(3, in.size() - i);
        const uint32_t v =
            (uint32_t(p[i]) << 16) | (n > 1 ? uint32_t(p[i + 1]) << 8 : 0) | (n > 2 ? p[i + 2] : 0);
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += n > 1 ? kAlphabet[(v >> 6) & 63] : '=';
        out += n > 2 ? kAlphabet[v & 63] : '=';
        lineBytes += n;
        if (separateLines && lineBytes == 48) {
            out += "\r\n";
            lineBytes = 0;
        }
    }
    if (separateLines && lineBytes > 0) out += "\r\n";
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
        out += "{" + std::to_string(encoded.size()) + "}\r\n" + encoded;
        copied = search = literal + size_t(count);
    }
    out.append(data.substr(copied));
    return out;
}

}  // namespace qb
