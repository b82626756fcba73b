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
