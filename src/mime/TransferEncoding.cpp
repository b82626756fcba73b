// SPDX-License-Identifier: Apache-2.0
// Base64 written straight into a presized buffer, since attachments can be very large;
// quoted-printable soft breaks never cut an escape.
#include "mime/TransferEncoding.h"
#include "platform/HexDigits.h"

#include <cstdint>

namespace qb {

namespace {

constexpr size_t kBase64Line = 76;
constexpr size_t kQPLine = 76;
constexpr size_t kMaxLine = 998;

bool lineEndsClean(std::string_view bytes, bool asciiOnly) {
    size_t lineLength = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c == 0 || (asciiOnly && c > 127)) return false;
        if (c == '\r') {
            if (i + 1 >= bytes.size() || bytes[i + 1] != '\n') return false;
            ++i;
            lineLength = 0;
        } else if (c == '\n') {
            return false;
        } else if (++lineLength > kMaxLine) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::string base64Body(std::string_view bytes) {
    static constexpr char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    // Written straight into lines: attachments can be hundreds of megabytes.
    constexpr size_t kGroupsPerLine = kBase64Line / 4;
    const size_t groups = (bytes.size() + 2) / 3;
    std::string out;
    out.resize(groups * 4 + (groups ? (groups - 1) / kGroupsPerLine * 2 : 0));
    char* o = out.data();
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    for (size_t g = 0; g < groups; ++g) {
        if (g && g % kGroupsPerLine == 0) {
            *o++ = '\r';
            *o++ = '\n';
        }
        const size_t i = g * 3;
        const size_t left = bytes.size() - i;
        const uint32_t v = (uint32_t(in[i]) << 16) | (left > 1 ? uint32_t(in[i + 1]) << 8 : 0) |
                           (left > 2 ? uint32_t(in[i + 2]) : 0);
        *o++ = kAlphabet[(v >> 18) & 63];
        *o++ = kAlphabet[(v >> 12) & 63];
        *o++ = left > 1 ? kAlphabet[(v >> 6) & 63] : '=';
        *o++ = left > 2 ? kAlphabet[v & 63] : '=';
    }
    return out;
}

std::string canonicalLineEnds(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r') {
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
            out += "\r\n";
        } else if (c == '\n') {
            out += "\r\n";
        } else {
            out += c;
        }
    }
    return out;
}

bool isSevenBitClean(std::string_view bytes) {
    return lineEndsClean(bytes, true);
}
bool isEightBitClean(std::string_view bytes) {
    return lineEndsClean(bytes, false);
}

std::string quotedPrintableBody(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 4);
    size_t column = 0;
    auto put = [&](std::string_view token) {
        // Leave room for the "=" of a soft break.
        if (column + token.size() > kQPLine - 1) {
            out += "=\r\n";
            column = 0;
        }
        out += token;
        column += token.size();
    };
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') {
            out += "\r\n";
            column = 0;
            ++i;
            continue;
        }
        const bool atLineEnd = i + 1 == bytes.size() || bytes[i + 1] == '\r';
        const bool literal =
            (c >= 33 && c <= 126 && c != '=') || ((c == ' ' || c == '\t') && !atLineEnd);
        if (literal) {
            const char ch = static_cast<char>(c);
            put(std::string_view(&ch, 1));
        } else {
            const char escaped[3] = {'=', kUpperHexDigits[c >> 4], kUpperHexDigits[c & 15]};
            put(std::string_view(escaped, 3));
        }
    }
    return out;
}

}  // namespace qb
