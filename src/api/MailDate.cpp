// SPDX-License-Identifier: Apache-2.0
// Reads a mail header's date-time into a UTC date.
#include "api/MailDate.h"

#include <string>
#include <utility>

namespace qb {

namespace {

// The next run of letters, digits, or one other character, white space and commas skipped.
std::string_view nextDateToken(std::string_view& s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == ',' ||
                          s.front() == '\r' || s.front() == '\n'))
        s.remove_prefix(1);
    if (s.empty()) return {};
    auto isAlnum = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    };
    size_t n = 1;
    if (isAlnum(s.front()))
        while (n < s.size() && isAlnum(s[n]))
            ++n;
    std::string_view token = s.substr(0, n);
    s.remove_prefix(n);
    return token;
}

std::optional<int64_t> dateNumber(std::string_view token) {
    if (token.empty() || token.size() > 9) return std::nullopt;
    int64_t v = 0;
    for (char c : token) {
        if (c < '0' || c > '9') return std::nullopt;
        v = v * 10 + (c - '0');
    }
    return v;
}

std::string lowerToken(std::string_view token) {
    std::string out(token);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return out;
}

}  // namespace

std::optional<Date> parseMailDate(std::string_view s) {
    static constexpr const char* kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                              "jul", "aug", "sep", "oct", "nov", "dec"};
    std::string_view token = nextDateToken(s);
    if (!token.empty() && !dateNumber(token)) token = nextDateToken(s);  // the weekday
    const auto day = dateNumber(token);
    const std::string month = lowerToken(nextDateToken(s));
    auto year = dateNumber(nextDateToken(s));
    if (!day || !year || *day < 1 || *day > 31) return std::nullopt;
    int64_t monthNumber = 0;
    for (int64_t i = 0; i < 12; ++i)
        if (month == kMonths[i]) monthNumber = i + 1;
    if (monthNumber == 0) return std::nullopt;
    // Two- and three-digit years as RFC 2822's obsolete syntax reads them.
    if (*year < 50)
        *year += 2000;
    else if (*year < 1000)
        *year += 1900;

    int64_t fields[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        if (i > 0) {
            std::string_view rest = s;
            if (nextDateToken(rest) != ":") {
                if (i < 2) return std::nullopt;
                break;
            }
            s = rest;
        }
        auto v = dateNumber(nextDateToken(s));
        if (!v || *v > 60) return std::nullopt;
        fields[i] = *v;
    }
    if (fields[0] > 23 || fields[1] > 59) return std::nullopt;

    int64_t offsetMinutes = 0;
    std::string_view zone = nextDateToken(s);
    if (zone == "+" || zone == "-") {
        const std::string_view digits = nextDateToken(s);
        const auto hhmm = dateNumber(digits);
        if (!hhmm || digits.size() != 4 || *hhmm % 100 > 59) return std::nullopt;
        offsetMinutes = (*hhmm / 100) * 60 + *hhmm % 100;
        if (zone == "-") offsetMinutes = -offsetMinutes;
    } else {
        static constexpr std::pair<const char*, int> kZones[] = {
            {"edt", -4}, {"est", -5}, {"cdt", -5}, {"cst", -6},
            {"mdt", -6}, {"mst", -7}, {"pdt", -7}, {"pst", -8}};
        const std::string name = lowerToken(zone);
        for (const auto& [zoneName, hours] : kZones)
            if (name == zoneName) offsetMinutes = hours * 60;
    }
    const Date local =
        dateFromComponents(*year, monthNumber, *day, fields[0], fields[1], fields[2]);
    return local - std::chrono::minutes(offsetMinutes);
}

}  // namespace qb
