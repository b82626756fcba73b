// SPDX-License-Identifier: Apache-2.0
// Line writing for calendar files: folding never splits a UTF-8 sequence.
#include "exporters/CalendarLines.h"

#include <fmt/format.h>

#include <chrono>

namespace qb {

namespace {

constexpr size_t kLineLimit = 75;

struct Fields {
    int year;
    unsigned month, day;
    int64_t hour, minute, second;
};

Fields fieldsOf(Date date) {
    const int64_t total = date.time_since_epoch().count();
    int64_t dayCount = total / 86400;
    if (total % 86400 < 0) --dayCount;
    const int64_t secs = total - dayCount * 86400;
    const std::chrono::year_month_day ymd{std::chrono::sys_days(std::chrono::days(dayCount))};
    return {static_cast<int>(ymd.year()),
            static_cast<unsigned>(ymd.month()),
            static_cast<unsigned>(ymd.day()),
            secs / 3600,
            (secs / 60) % 60,
            secs % 60};
}

bool isContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

void replaceAll(std::string& s, std::string_view from, std::string_view to) {
    for (size_t pos = 0; (pos = s.find(from, pos)) != std::string::npos; pos += to.size())
        s.replace(pos, from.size(), to);
}

}  // namespace

void appendContentLine(std::string& out, std::string_view line) {
    size_t limit = kLineLimit;
    while (line.size() > limit) {
        size_t cut = limit;
        while (cut > 0 && isContinuationByte(line[cut]))
            --cut;
        // A line of nothing but continuation bytes is not UTF-8; cut it where it stands.
        if (cut == 0) cut = limit;
        out.append(line.substr(0, cut));
        out.append("\r\n ");
        line.remove_prefix(cut);
        limit = kLineLimit - 1;  // the leading space counts
    }
    out.append(line);
    out.append("\r\n");
}

std::string escapeParamValue(std::string_view value) {
    std::string s(value);
    replaceAll(s, "\r", "\\r");
    replaceAll(s, "\"", "\\\"");
    return s;
}

bool isEmailAddress(std::string_view text) {
    return text.find('@') != std::string_view::npos;
}

std::string formatCalendarDateTime(Date date, bool utc) {
    const Fields f = fieldsOf(date);
    return fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}{}", f.year, f.month, f.day, f.hour,
                       f.minute, f.second, utc ? "Z" : "");
}

std::string formatCalendarDate(Date date) {
    const Fields f = fieldsOf(date);
    return fmt::format("{:04}{:02}{:02}", f.year, f.month, f.day);
}

std::string formatCalendarFileStamp(Date date) {
    const Fields f = fieldsOf(date);
    return fmt::format("{:04}{:02}{:02}-{:02}{:02}{:02}", f.year, f.month, f.day, f.hour, f.minute,
                       f.second);
}

}  // namespace qb
