// SPDX-License-Identifier: Apache-2.0
// Encoded words that never split a character, mailboxes that fall back to an empty group for
// X.500-only senders, and RFC 2231 continuations for long or non-ASCII file names.
#include "mime/FieldCoders.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "mailkit/Unicode.h"

namespace qb {

namespace {

constexpr size_t kEncodedWordMax = 75;
constexpr size_t kLongWord = 900;
constexpr size_t kParameterPiece = 60;

bool isAsciiPrintable(std::string_view s) {
    for (unsigned char c : s)
        if (c < 0x20 || c > 0x7E) return false;
    return true;
}

std::string withoutControls(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7F) c = ' ';
    }
    return out;
}

bool hasLongWord(std::string_view s) {
    size_t run = 0;
    for (char c : s) {
        run = (c == ' ') ? 0 : run + 1;
        if (run > kLongWord) return true;
    }
    return false;
}

// The non-alphanumeric characters of RFC 5322 atext (strchr alone would also match NUL).
bool isAtextSpecial(unsigned char c) {
    return c != 0 && std::strchr("!#$%&'*+-/=?^_`{|}~", c);
}

// RFC 5322 atext plus the space between words.
bool isPhraseAtom(std::string_view s) {
    if (s.empty() || s.front() == ' ' || s.back() == ' ') return false;
    for (unsigned char c : s) {
        if (std::isalnum(c) || c == ' ') continue;
        if (!isAtextSpecial(c)) return false;
    }
    return s.find("  ") == std::string_view::npos;
}

bool isDotAtom(std::string_view s) {
    if (s.empty() || s.front() == '.' || s.back() == '.' || s.find("..") != std::string_view::npos)
        return false;
    for (unsigned char c : s) {
        if (std::isalnum(c) || c == '.') continue;
        if (!isAtextSpecial(c)) return false;
    }
    return true;
}

std::string phrase(std::string_view name) {
    const std::string clean = withoutControls(name);
    if (!isAsciiPrintable(clean)) {
        // Readers join the encoded words of a phrase with a space, so each word of the name
        // is encoded on its own: a word cut in two would come back as two.
        std::string out;
        size_t start = 0;
        while (start <= clean.size()) {
            size_t end = clean.find(' ', start);
            if (end == std::string::npos) end = clean.size();
            if (end > start) {
                if (!out.empty()) out += ' ';
                out += encodedWords(std::string_view(clean).substr(start, end - start));
            }
            start = end + 1;
        }
        return out;
    }
    // A word too long for one line can only be folded as encoded words: left as it is, it
    // would push the whole message (and every message it is nested in) into Base64.
    if (hasLongWord(clean)) return encodedWords(clean);
    if (isPhraseAtom(clean)) return clean;
    return escapedQuotedString(clean);
}

bool isInternetAddress(std::string_view address) {
    const size_t at = address.rfind('@');
    return at != std::string_view::npos && isDotAtom(address.substr(0, at)) &&
           isDotAtom(address.substr(at + 1));
}

std::string comment(std::string_view s) {
    std::string out = "(";
    for (char c : s) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    out += ')';
    return out;
}

}  // namespace

std::string encodedWords(std::string_view utf8) {
    // 33 bytes give 44 Base64 characters, a word of 56: short enough that a field name and
    // the first word share the first line, so folding never leaves the name alone on it.
    constexpr size_t kChunk = 33;
    static_assert(12 + kChunk / 3 * 4 <= kEncodedWordMax);
    return base64EncodedWords(utf8, kChunk);
}

std::string EDTextFieldCoder::fieldBody() const {
    const std::string clean = withoutControls(text_);
    if (isAsciiPrintable(clean) && !hasLongWord(clean) && clean.find("=?") == std::string::npos)
        return clean;
    return encodedWords(clean);
}

std::optional<std::string> mailboxFieldBody(const Address& address) {
    const std::string name = withoutControls(address.displayName().value_or(""));
    const std::string addr = withoutControls(address.address().value_or(""));
    const bool exchange = address.type() && *address.type() == "EX";
    if (!addr.empty() && !exchange && isInternetAddress(addr))
        return name.empty() ? addr : phrase(name) + " <" + addr + ">";
    // The message may know the person's Internet address beside an X.500 name.
    if (const std::string smtp = withoutControls(address.smtpAddress().value_or(""));
        isInternetAddress(smtp))
        return name.empty() ? smtp : phrase(name) + " <" + smtp + ">";
    std::string shown = name.empty() ? addr : name;
    if (shown.empty()) shown = withoutControls(address.email().value_or(""));
    if (shown.empty()) return std::nullopt;
    // No Internet address to write (an Exchange X.500 name, or none at all): an empty
    // group keeps the name, and a comment keeps the address text for whoever reads it.
    std::string group = phrase(shown);
    if (!addr.empty() && addr != shown && isAsciiPrintable(addr)) {
        group += ' ';  // appended alone: `" " + std::string` trips g++ 12's -Wrestrict at -O3
        group += comment(addr);
    }
    // An encoded word needs white space after it.
    else if (group.back() == '=')
        group += ' ';
    return group + ":;";
}

std::string headerParameter(std::string_view name, std::string_view value) {
    if (isAsciiPrintable(value) && value.size() <= kParameterPiece &&
        value.find_first_of("\"\\") == std::string_view::npos)
        return fmt::format("{}=\"{}\"", name, value);

    // attr-char of RFC 2231: letters, digits and !#$&+-.^_`|~
    auto escape = [](std::string_view bytes) {
        std::string out;
        for (unsigned char c : bytes) {
            if (std::isalnum(c) || (c != 0 && std::strchr("!#$&+-.^_`|~", c)))
                out += static_cast<char>(c);
            else
                out += fmt::format("%{:02X}", c);
        }
        return out;
    };
    std::string out;
    size_t pos = 0;
    for (int index = 0; pos < value.size() || index == 0; ++index) {
        size_t end = pos;
        // Whole characters only, so every piece is valid UTF-8 on its own.
        while (end < value.size()) {
            const size_t len = utf8SequenceLength(static_cast<unsigned char>(value[end]));
            if (end > pos && end + len - pos > kParameterPiece / 3) break;
            end += std::min(len, value.size() - end);
        }
        if (index) out += "; ";
        out += fmt::format("{}*{}*={}{}", name, index, index == 0 ? "utf-8''" : "",
                           escape(value.substr(pos, end - pos)));
        pos = end;
    }
    return out;
}

}  // namespace qb
