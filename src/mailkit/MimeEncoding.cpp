// SPDX-License-Identifier: Apache-2.0
// Charset choice, Q- and B-word building, and the decoders; adjacent encoded words of one
// charset are decoded together so multi-byte characters split across words survive.
#include "mailkit/MimeEncoding.h"

#include <fmt/format.h>

#include <cctype>

#include "mailkit/Base64.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/Unicode.h"
#include "platform/AsciiCase.h"
#include "platform/HexDigits.h"

namespace qb {

namespace {

// U+0020..U+007D without " _=?".
bool isQSafe(unsigned char c) {
    return c >= 0x20 && c <= 0x7D && c != ' ' && c != '_' && c != '=' && c != '?';
}

// U+0020..U+007D, CR and LF, without =!"#$@[\]^`{|}~.
bool isQPLiteral(unsigned char c) {
    if (c == '\r' || c == '\n') return true;
    if (c < 0x20 || c > 0x7D) return false;
    return std::string_view("=!\"#$@[\\]^`{|}~").find(static_cast<char>(c)) ==
           std::string_view::npos;
}

bool isURLLegal(unsigned char c) {
    return std::isalnum(c) || std::string_view("-_.!~*'();/?:@&=+$,#").find(static_cast<char>(c)) !=
                                  std::string_view::npos;
}

void replaceAll(std::string& s, std::string_view from, std::string_view to) {
    size_t pos = 0;
    while ((pos = s.find(from, pos)) != std::string::npos) {
        s.replace(pos, from.size(), to);
        pos += to.size();
    }
}

const char* wordLabel(StringEncoding e) {
    switch (e) {
        case kUTF8Encoding:
            return "utf-8";
        case kISOLatin1Encoding:
            return "iso-8859-1";
        case kISOLatin2Encoding:
            return "iso-8859-2";
        case kUTF16Encoding:
            return "utf-16";
        default:
            return nullptr;
    }
}

bool fits(std::string_view text, StringEncoding e) {
    return e != 0 && canConvertLosslessly(text, e);
}

}  // namespace

std::optional<std::string> MKcharSetNameForEncoding(StringEncoding encoding) {
    std::string name = ianaNameForEncoding(encoding);
    if (name.empty()) return std::nullopt;
    return name;
}

StringEncoding MKencodingForCharSetName(std::string_view name) {
    return encodingForIANAName(name);
}

StringEncoding chooseOutputEncoding(std::string_view text, StringEncoding preferred) {
    // Latin 2 before UTF-8: it decides the label of most non-ASCII output.
    for (StringEncoding e : {preferred, kISOLatin2Encoding, kUTF8Encoding, kUTF16Encoding})
        if (fits(text, e)) return e;
    return 0;
}

std::optional<std::string> qEncodedStringWithString(std::string_view text, StringEncoding preferred,
                                                    StringEncoding* used) {
    const StringEncoding e = chooseOutputEncoding(text, preferred);
    if (used) *used = e;
    if (e == 0) return std::nullopt;
    auto bytes = encodeString(text, e);
    if (!bytes) {
        if (used) *used = 0;
        return std::nullopt;
    }
    std::string out;
    for (unsigned char c : *bytes) {
        if (isQSafe(c))
            out += static_cast<char>(c);
        else if (c == ' ')
            out += '_';
        else
            out += fmt::format("={:02X}", c);
    }
    return out;
}

std::string mimeWordWithString(std::string_view text, StringEncoding preferred,
                               StringEncoding* used) {
    StringEncoding e = fits(text, preferred) ? preferred : 0;
    if (e == 0) {
        for (StringEncoding candidate : {kISOLatin2Encoding, kUTF8Encoding, kUTF16Encoding})
            if (fits(text, candidate)) {
                e = candidate;
                break;
            }
    }
    if (const char* label = wordLabel(e)) {
        if (auto escaped = stringByAddingPercentEscapes(text, e)) {
            replaceAll(*escaped, "%", "=");
            replaceAll(*escaped, " ", "=20");
            if (used) *used = e;
            return encodedWord(label, 'Q', *escaped);
        }
    }
    if (used) *used = kUTF8Encoding;
    return encodedWord("utf-8", 'B', base64EncodedString(text));
}

std::string encodedWord(std::string_view charset, char encoding, std::string_view payload) {
    std::string out;
    out.reserve(charset.size() + payload.size() + 7);
    out += "=?";
    out += charset;
    out += '?';
    out += encoding;
    out += '?';
    out += payload;
    out += "?=";
    return out;
}

std::string base64EncodedWords(std::string_view utf8, size_t maxBytes) {
    std::string out;
    size_t pos = 0;
    while (pos < utf8.size()) {
        size_t end = pos;
        while (end < utf8.size()) {
            const size_t len = utf8SequenceLength(static_cast<unsigned char>(utf8[end]));
            if (end + len - pos > maxBytes) break;
            end += len;
        }
        if (end == pos) end = std::min(utf8.size(), pos + std::max<size_t>(maxBytes, 1));
        if (!out.empty()) out += ' ';
        out += encodedWord("utf-8", 'B', base64EncodedString(utf8.substr(pos, end - pos)));
        pos = end;
    }
    return out;
}

std::optional<std::string> dataForMimeEncodedWord(std::string_view word,
                                                  StringEncoding* usedEncoding) {
    if (word.size() < 4 || !word.starts_with("=?") || !word.ends_with("?=")) return std::nullopt;
    const size_t q = word.find('?', 2);
    if (q == std::string_view::npos || q >= word.size() - 4) return std::nullopt;
    const StringEncoding e = MKencodingForCharSetName(word.substr(2, q - 2));
    if (e == kInvalidEncoding) return std::nullopt;
    if (usedEncoding) *usedEncoding = e;
    const std::string_view kind = word.substr(q + 1, 2);
    const std::string_view payload = word.substr(q + 3, word.size() - 2 - (q + 3));
    if (startsWithIgnoringASCIICase(kind, "B?")) return NewBase64Decode(payload);
    if (!startsWithIgnoringASCIICase(kind, "Q?")) return std::nullopt;
    std::string bytes;
    for (size_t i = 0; i < payload.size();) {
        const unsigned char c = static_cast<unsigned char>(payload[i]);
        if (c == '_') {
            bytes += ' ';
            ++i;
        } else if (c == '=') {
            if (payload.size() - i < 3) return std::nullopt;
            const int hi = hexDigitValue(payload[i + 1]), lo = hexDigitValue(payload[i + 2]);
            if (hi < 0 || lo < 0) return std::nullopt;
            bytes += static_cast<char>(hi << 4 | lo);
            i += 3;
        } else if (c < 0x80) {
            bytes += static_cast<char>(c);
            ++i;
        } else {
            // A character beyond ASCII in the payload: allowed up to U+00FF, as its code.
            const unsigned char c2 =
                i + 1 < payload.size() ? static_cast<unsigned char>(payload[i + 1]) : 0;
            if ((c == 0xC2 || c == 0xC3) && (c2 & 0xC0) == 0x80) {
                bytes += static_cast<char>(((c & 0x03) << 6) | (c2 & 0x3F));
                i += 2;
            } else {
                return std::nullopt;
            }
        }
    }
    return bytes;
}

std::optional<std::string> stringWithMimeEncodedWord(std::string_view word) {
    StringEncoding e = 0;
    auto bytes = dataForMimeEncodedWord(word, &e);
    if (!bytes) return std::nullopt;
    const bool isQ = startsWithIgnoringASCIICase(word.substr(word.find('?', 2) + 1), "Q");
    // Q text ends at its first zero byte.
    if (isQ) bytes->resize(std::min(bytes->size(), bytes->find('\0')));
    return decodeString(*bytes, e, false);
}

std::string decodedMimeEncodedString(std::string_view s) {
    std::string out, pending;
    StringEncoding pendingEncoding = 0;
    auto flush = [&] {
        if (pendingEncoding != 0 && !pending.empty())
            if (auto text = decodeString(pending, pendingEncoding, true)) out += *text;
        pending.clear();
    };
    size_t pos = 0;
    const size_t n = s.size();
    while (pos < n) {
        const size_t wsStart = pos;
        while (pos < n && std::isspace(static_cast<unsigned char>(s[pos])))
            ++pos;
        const std::string_view ws = s.substr(wsStart, pos - wsStart);
        size_t next = s.find("=?", pos);
        if (next == std::string_view::npos) next = n;
        if (next > pos) {
            // White space between two encoded words is dropped; before text it stays.
            out.append(ws);
            out.append(s.substr(pos, next - pos));
            pos = next;
        }
        if (pos >= n) break;
        // At "=?": charset, "?", B or Q, "?", payload, "?=". A broken word is dropped.
        const size_t start = pos;
        pos += 2;
        const size_t q1 = s.find('?', pos);
        if (q1 == std::string_view::npos) {
            pos = n;
            continue;
        }
        if (q1 == pos) {
            continue;
        }  // no charset
        pos = q1 + 1;
        if (pos >= n || (std::toupper(static_cast<unsigned char>(s[pos])) != 'B' &&
                         std::toupper(static_cast<unsigned char>(s[pos])) != 'Q'))
            continue;
        ++pos;
        if (pos >= n || s[pos] != '?') continue;
        ++pos;
        const size_t end = s.find("?=", pos);
        if (end == std::string_view::npos) {
            pos = n;
            continue;
        }
        if (end == pos) {
            continue;
        }  // empty payload
        pos = end + 2;
        StringEncoding e = 0;
        auto bytes = dataForMimeEncodedWord(s.substr(start, pos - start), &e);
        if (!bytes) continue;
        if (pendingEncoding != 0 && e != pendingEncoding) flush();
        pending += *bytes;
        pendingEncoding = e;
    }
    flush();
    return out;
}

std::optional<std::string> quotedPrintableStringForPlainTextBody(std::string_view text,
                                                                 StringEncoding preferred,
                                                                 StringEncoding* used) {
    const StringEncoding e = chooseOutputEncoding(text, preferred);
    if (used) *used = e;
    if (e == 0) return std::nullopt;
    auto bytes = encodeString(text, e);
    if (!bytes) return std::nullopt;
    static constexpr QuotedPrintableRules kRules{
        .literal = isQPLiteral,
        .escapeColumn = 72,
        .escapeSpaceAtLineEnd = false,
        .dropCharBeforeBreak = true,
        .markTrailingSpace = true,
    };
    return encodeQuotedPrintable(*bytes, kRules);
}

std::string encodeQuotedPrintable(std::string_view in, const QuotedPrintableRules& rules) {
    constexpr size_t kTextColumn = 75;
    std::string out;
    out.reserve(in.size() + in.size() / 4);
    size_t column = 0;
    auto softBreakAt = [&](size_t limit) {
        if (column < limit) return;
        out += "=\r\n";
        column = 0;
    };
    for (size_t i = 0; i < in.size(); ++i) {
        const auto c = static_cast<unsigned char>(in[i]);
        if (c == '\r' && i + 1 < in.size() && in[i + 1] == '\n') {
            if (rules.dropCharBeforeBreak && column > 0) out.pop_back();
            out += "\r\n";
            column = 0;
            ++i;
            continue;
        }
        const bool atLineEnd = i + 1 == in.size() || in[i + 1] == '\r';
        const bool literal = rules.literal(c) &&
                             !(rules.escapeSpaceAtLineEnd && atLineEnd && (c == ' ' || c == '\t'));
        if (literal) {
            softBreakAt(kTextColumn);
            out += static_cast<char>(c);
            column += 1;
        } else {
            softBreakAt(rules.escapeColumn);
            out += '=';
            out += kUpperHexDigits[c >> 4];
            out += kUpperHexDigits[c & 15];
            column += 3;
        }
    }
    if (rules.markTrailingSpace && !out.empty() && out.back() == ' ') out += '=';
    return out;
}

std::string quotedPrintableDecodedBytes(std::string_view in) {
    std::string out;
    out.reserve(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const char c = in[i];
        if (c != '=') {
            out += c;
            continue;
        }
        // A soft break: "=", optional white space, then the line end.
        size_t j = i + 1;
        while (j < in.size() && (in[j] == ' ' || in[j] == '\t'))
            ++j;
        if (j < in.size() && (in[j] == '\r' || in[j] == '\n')) {
            i = (in[j] == '\r' && j + 1 < in.size() && in[j + 1] == '\n') ? j + 1 : j;
            continue;
        }
        if (j == in.size()) {
            i = j - 1;
            continue;
        }
        const int hi = i + 2 < in.size() ? hexDigitValue(in[i + 1]) : -1;
        const int lo = hi >= 0 ? hexDigitValue(in[i + 2]) : -1;
        if (lo < 0) {
            out += c;
            continue;
        }
        out += static_cast<char>(hi << 4 | lo);
        i += 2;
    }
    return out;
}

std::optional<std::string> stringByAddingPercentEscapes(std::string_view text,
                                                        StringEncoding encoding) {
    auto bytes = encodeString(text, encoding);
    if (!bytes) return std::nullopt;
    std::string out;
    for (unsigned char c : *bytes) {
        if (isURLLegal(c))
            out += static_cast<char>(c);
        else
            out += fmt::format("%{:02X}", c);
    }
    return out;
}

std::optional<std::string> stringByReplacingPercentEscapes(std::string_view text,
                                                           StringEncoding encoding) {
    std::string out, run;
    auto flush = [&]() -> bool {
        if (run.empty()) return true;
        auto decoded = decodeString(run, encoding, false);
        if (!decoded) return false;
        out += *decoded;
        run.clear();
        return true;
    };
    for (size_t i = 0; i < text.size();) {
        if (text[i] == '%') {
            if (text.size() - i < 3) return std::nullopt;
            const int hi = hexDigitValue(text[i + 1]), lo = hexDigitValue(text[i + 2]);
            if (hi < 0 || lo < 0) return std::nullopt;
            run += static_cast<char>(hi << 4 | lo);
            i += 3;
        } else {
            if (!flush()) return std::nullopt;
            const size_t next = std::min(text.find('%', i), text.size());
            out.append(text.substr(i, next - i));
            i = next;
        }
    }
    if (!flush()) return std::nullopt;
    return out;
}

namespace {

// The shared steps of the quoted-printable decoders, up to the unescaping.
std::optional<std::string> decodeQuotedPrintable(std::string_view bytes, StringEncoding encoding,
                                                 bool decodeEntities) {
    auto text = decodeString(bytes, encoding, false);
    if (!text) return std::nullopt;
    replaceAll(*text, "=\r\n", "");
    replaceAll(*text, "=\r", "");
    if (decodeEntities) *text = stringByDecodingHTMLEntities(*text);
    replaceAll(*text, "%", "%25");
    replaceAll(*text, "=", "%");
    return stringByReplacingPercentEscapes(*text, encoding);
}

}  // namespace

std::optional<std::string> stringFromQuotedPrintableString(std::string_view bytes,
                                                           StringEncoding encoding) {
    return decodeQuotedPrintable(bytes, encoding, true);
}

std::optional<std::string> htmlEncodedStringFromQuotedPrintableString(std::string_view bytes,
                                                                      StringEncoding encoding) {
    auto text = decodeQuotedPrintable(bytes, encoding, false);
    if (!text) return std::nullopt;
    return stringByEscapingForHTMLContent(*text);
}

std::optional<std::string> decodedQuotedPrintableString(std::string_view bytes,
                                                        StringEncoding encoding) {
    auto text = decodeQuotedPrintable(bytes, encoding, false);
    if (!text) return std::nullopt;
    return stringByEscapingForAsciiHTMLContent(*text);
}

}  // namespace qb
