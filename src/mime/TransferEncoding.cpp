// SPDX-License-Identifier: Apache-2.0
// The transfer encodings of exported bodies: the mail toolkit's Base64 and quoted-printable
// coders with the line rules of RFC 2045, and the checks that choose between them.
#include "mime/TransferEncoding.h"

#include "mailkit/Base64.h"
#include "mailkit/MimeEncoding.h"

#include <cstdint>

namespace qb {

namespace {

constexpr size_t kBase64Line = 76;
constexpr size_t kMaxLine = 998;

// Reads text in stretches and remembers where a line stands, so a body checked piece by
// piece gives the answer the whole text would.
class LineCheck {
  public:
    explicit LineCheck(bool asciiOnly) : asciiOnly_(asciiOnly) {}
    bool add(std::string_view bytes) {
        for (const char ch : bytes) {
            const auto c = static_cast<unsigned char>(ch);
            if (afterCR_) {
                if (c != '\n') return clean_ = false;
                afterCR_ = false;
                lineLength_ = 0;
            } else if (c == 0 || (asciiOnly_ && c > 127) || c == '\n') {
                return clean_ = false;
            } else if (c == '\r') {
                afterCR_ = true;
            } else if (++lineLength_ > kMaxLine) {
                return clean_ = false;
            }
        }
        return true;
    }
    bool clean() const { return clean_ && !afterCR_; }

  private:
    bool asciiOnly_;
    bool clean_ = true, afterCR_ = false;
    size_t lineLength_ = 0;
};

bool lineEndsClean(const MimeBody& body, bool asciiOnly) {
    LineCheck check(asciiOnly);
    return body.write([&](std::string_view s) { return check.add(s); }) && check.clean();
}

bool lineEndsClean(std::string_view bytes, bool asciiOnly) {
    LineCheck check(asciiOnly);
    return check.add(bytes) && check.clean();
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
bool isSevenBitClean(const MimeBody& body) {
    return lineEndsClean(body, true);
}
bool isEightBitClean(const MimeBody& body) {
    return lineEndsClean(body, false);
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
