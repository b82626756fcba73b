// Base64 through the line writer bodies stream with; quoted-printable soft breaks never cut
// an escape.
#include "mime/TransferEncoding.h"
#include "platform/HexDigits.h"

#include <cstdint>

namespace qb {

namespace {

constexpr size_t kQPLine = 76;
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
    std::string out;
    out.reserve(Base64LineWriter::encodedSize(bytes.size()));
    const MimeSink sink = [&](std::string_view s) {
        out.append(s);
        return true;
    };
    Base64LineWriter encoder(sink);
    encoder.add(bytes);
    encoder.finish();
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
bool isSevenBitClean(const MimeBody& body) {
    return lineEndsClean(body, true);
}
bool isEightBitClean(const MimeBody& body) {
    return lineEndsClean(body, false);
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
