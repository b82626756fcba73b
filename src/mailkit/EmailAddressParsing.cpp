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

#include <regex>

#include "mailkit/Base64.h"

namespace qb {

bool emailAddressValidate(std::string_view text) {
    static const std::regex pattern(
        R"((?:[a-z0-9!#$%&'*+/=?^_`{|}~-]+(?:\.[a-z0-9!#$%&'*+/=?^_`{|}~-]+)*)"
        R"(|"(?:[\x01-\x08\x0b\x0c\x0e-\x1f\x21\x23-\x5b\x5d-\x7f]|\\[\x01-\x09\x0b\x0c\x0e-\x7f])*"))"
        R"(@(?:(?:[a-z0-9](?:[a-z0-9-]*[a-z0-9])?\.)+[a-z0-9](?:[a-z0-9-]*[a-z0-9])?)"
        R"(|\[(?:(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\.){3}(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\]))",
        std::regex::icase | std::regex::optimize);
    // The pattern is linear in practice, but keep hostile input short.
    if (text.size() > 320) return false;
    return std::regex_match(text.begin(), text.end(), pattern);
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
