#include "mime/TransferEncoding.h"

#include "mailkit/Base64.h"

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
    const std::string flat = base64EncodedString(bytes);
    std::string out;
    out.reserve(flat.size() + flat.size() / kBase64Line * 2 + 2);
    for (size_t pos = 0; pos < flat.size(); pos += kBase64Line) {
        if (pos) out += "\r\n";
        out.append(flat, pos, kBase64Line);
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
    static constexpr char kHex[] = "0123456789ABCDEF";
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
            const char escaped[3] = {'=', kHex[c >> 4], kHex[c & 15]};
            put(std::string_view(escaped, 3));
        }
    }
    return out;
}

}  // namespace qb
