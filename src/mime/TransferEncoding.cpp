// SPDX-License-Identifier: Apache-2.0
// The transfer encodings of exported bodies: the mail toolkit's Base64 and quoted-printable
// coders with the line rules of RFC 2045.
#include "mime/TransferEncoding.h"

#include "mailkit/Base64.h"
#include "mailkit/MimeEncoding.h"

#include <cstdint>

namespace qb {

namespace {

constexpr size_t kBase64Line = 76;
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
    return base64Lines(bytes, kBase64Line, false);
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
    // RFC 2045: printable ASCII but "=" as it is, white space too except at a line's end.
    static constexpr QuotedPrintableRules kRules{
        .literal =
            [](unsigned char c) {
                return (c >= 33 && c <= 126 && c != '=') || c == ' ' || c == '\t';
            },
        .escapeColumn = 73,
        .escapeSpaceAtLineEnd = true,
        .dropCharBeforeBreak = false,
        .markTrailingSpace = false,
    };
    return encodeQuotedPrintable(bytes, kRules);
}

}  // namespace qb
