// SPDX-License-Identifier: Apache-2.0
// Word splitting and trimming for the loose forms, then a strict address check (dot-atom or
// quoted local part, host name or IPv4 literal) written out by hand.
#include "mailkit/EmailAddressParsing.h"

#include <vector>

namespace qb {

namespace {

std::string_view trim(std::string_view s, std::string_view chars) {
    const size_t first = s.find_first_not_of(chars);
    if (first == std::string_view::npos) return {};
    const size_t last = s.find_last_not_of(chars);
    return s.substr(first, last - first + 1);
}

constexpr std::string_view kWhiteSpaceAndNewlines = " \t\r\n\v\f";

std::vector<std::string_view> spaceSeparated(std::string_view text) {
    std::vector<std::string_view> words;
    size_t start = 0;
    for (;;) {
        const size_t space = text.find(' ', start);
        words.push_back(text.substr(start, space - start));
        if (space == std::string_view::npos) break;
        start = space + 1;
    }
    return words;
}

}  // namespace

std::optional<std::string> emailAddress(std::string_view text) {
    if (text.find('@') == std::string_view::npos) return std::nullopt;
    return std::string(trim(spaceSeparated(text).back(), "'\"<>()"));
}

std::optional<std::string> emailFullName(std::string_view text) {
    std::string name;
    if (text.find('@') != std::string_view::npos) {
        auto words = spaceSeparated(text);
        for (size_t i = 0; i + 1 < words.size(); ++i) {
            if (i) name += ' ';
            name += words[i];
        }
    } else if (const size_t angle = text.find('<'); angle != std::string_view::npos) {
        name = text.substr(0, angle);
    } else {
        return std::nullopt;
    }
    return std::string(trim(trim(name, "'\""), kWhiteSpaceAndNewlines));
}

std::optional<std::string> emailFullNameOrAddress(std::string_view text) {
    auto name = emailFullName(text);
    if (name && !name->empty()) return name;
    return emailAddress(text);
}

}  // namespace qb

#include <cctype>

#include "mailkit/Base64.h"

namespace qb {

namespace {

bool isAtomChar(unsigned char c) {
    return std::isalnum(c) || std::string_view("!#$%&'*+/=?^_`{|}~-").find(static_cast<char>(c)) !=
                                  std::string_view::npos;
}

bool isDotAtomText(std::string_view s) {
    if (s.empty() || s.front() == '.' || s.back() == '.') return false;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '.') {
            if (s[i + 1] == '.') return false;
        } else if (!isAtomChar(static_cast<unsigned char>(s[i]))) {
            return false;
        }
    }
    return true;
}

bool isQuotedLocalPart(std::string_view s) {
    if (s.size() < 2 || s.front() != '"' || s.back() != '"') return false;
    for (size_t i = 1; i + 1 < s.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '\\') {
            if (++i + 1 >= s.size()) return false;
            const unsigned char e = static_cast<unsigned char>(s[i]);
            if (e == 0 || e == '\n' || e == '\r' || e > 0x7F) return false;
        } else if (c == 0 || c == '\t' || c == '\n' || c == '\r' || c == ' ' || c == '"' || c > 0x7F) {
            return false;
        }
    }
    return true;
}

bool isHostname(std::string_view s) {
    size_t labels = 0;
    size_t start = 0;
    for (;;) {
        const size_t dot = s.find('.', start);
        const std::string_view label = s.substr(start, dot - start);
        if (label.empty() || label.front() == '-' || label.back() == '-') return false;
        for (unsigned char c : label)
            if (!std::isalnum(c) && c != '-') return false;
        ++labels;
        if (dot == std::string_view::npos) break;
        start = dot + 1;
    }
    return labels >= 2;
}

bool isIPv4Literal(std::string_view s) {
    if (s.size() < 2 || s.front() != '[' || s.back() != ']') return false;
    s = s.substr(1, s.size() - 2);
    int parts = 0;
    size_t start = 0;
    for (;;) {
        const size_t dot = s.find('.', start);
        const std::string_view part = s.substr(start, dot - start);
        if (part.empty() || part.size() > 3) return false;
        int value = 0;
        for (char c : part) {
            if (c < '0' || c > '9') return false;
            value = value * 10 + (c - '0');
        }
        if (value > 255) return false;
        ++parts;
        if (dot == std::string_view::npos) break;
        start = dot + 1;
    }
    return parts == 4;
}

}  // namespace

bool emailAddressValidate(std::string_view text) {
    // An RFC 5322 address as mail clients check it: dot-atom or quoted local part, "@", a
    // dotted host name or a bracketed IPv4 literal. Letters in any case.
    const size_t at = text.rfind('@');
    if (at == std::string_view::npos) return false;
    const std::string_view local = text.substr(0, at), domain = text.substr(at + 1);
    if (!isDotAtomText(local) && !isQuotedLocalPart(local)) return false;
    return isHostname(domain) || isIPv4Literal(domain);
}

std::string emailSubjectReply(std::string_view subject) {
    if (subject.find("Re:") != std::string_view::npos) return std::string(subject);
    return "Re: " + std::string(subject);
}

std::string emailSubjectForward(std::string_view subject) {
    if (subject.find("Fwd:") != std::string_view::npos) return std::string(subject);
    return "Fwd: " + std::string(subject);
}

std::string qbPngDataURIWithContent(std::string_view bytes) {
    return "data:image/png;base64," + base64EncodedString(bytes);
}

std::string qbJpgDataURIWithContent(std::string_view bytes) {
    return "data:image/jpeg;base64," + base64EncodedString(bytes);
}

}  // namespace qb
