// SPDX-License-Identifier: Apache-2.0
// Calendar arithmetic in plain integers, with no time zone or C library involved, so far-off
// dates from damaged files still convert without overflow.
#include "platform/Date.h"

#include <fmt/format.h>

namespace qb {

namespace {

constexpr int64_t kFileTimeUnixEpoch = 0x019DB1DED53E8000LL;

// Days since 1970-01-01 of a proleptic Gregorian date (month 1..12).
int64_t daysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

int64_t floorDiv(int64_t a, int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

}  // namespace

Date dateFromFileTime(uint64_t ticks) {
    // (ticks - epoch) / 10^7, truncated toward zero, without forming the difference (which
    // overflows for counts near the ends of the range). The epoch is whole seconds.
    const int64_t t = static_cast<int64_t>(ticks);
    int64_t seconds = t / 10'000'000 - kFileTimeUnixEpoch / 10'000'000;
    if (seconds < 0 && t % 10'000'000 > 0) ++seconds;
    return Date(std::chrono::seconds(seconds));
}

Date dateFromComponents(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
                        int64_t second) {
    const int64_t monthIndex = month - 1;
    const int64_t y = year + floorDiv(monthIndex, 12);
    const int64_t m = monthIndex - floorDiv(monthIndex, 12) * 12 + 1;
    const int64_t days = daysFromCivil(y, m, 1) + (day - 1);
    return Date(std::chrono::seconds(days * 86400 + hour * 3600 + minute * 60 + second));
}

std::string formatRFC3339(Date date) {
    const int64_t total = date.time_since_epoch().count();
    const int64_t days = floorDiv(total, 86400);
    const int64_t secs = total - days * 86400;
    const std::chrono::year_month_day ymd{std::chrono::sys_days(std::chrono::days(days))};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(ymd.year()),
                       static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                       secs / 3600, (secs / 60) % 60, secs % 60);
}

std::string formatRFC2822(Date date) {
    static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const int64_t total = date.time_since_epoch().count();
    const int64_t days = floorDiv(total, 86400);
    const int64_t secs = total - days * 86400;
    const std::chrono::year_month_day ymd{std::chrono::sys_days(std::chrono::days(days))};
    // 1970-01-01 was a Thursday.
    const int64_t weekday = ((days + 4) % 7 + 7) % 7;
    return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02} +0000", kDays[weekday],
                       static_cast<unsigned>(ymd.day()),
                       kMonths[static_cast<unsigned>(ymd.month()) - 1],
                       static_cast<int>(ymd.year()), secs / 3600, (secs / 60) % 60, secs % 60);
}

}  // namespace qb

namespace qb {

std::optional<Date> parseRFC3339(std::string_view s) {
    auto num = [&](size_t pos, size_t len) -> std::optional<int64_t> {
        if (pos + len > s.size()) return std::nullopt;
        int64_t v = 0;
        for (size_t i = pos; i < pos + len; ++i) {
            if (s[i] < '0' || s[i] > '9') return std::nullopt;
            v = v * 10 + (s[i] - '0');
        }
        return v;
    };
    auto y = num(0, 4), mo = num(5, 2), d = num(8, 2), h = num(11, 2), mi = num(14, 2),
         se = num(17, 2);
    if (!y || !mo || !d || !h || !mi || !se || s[4] != '-' || s[7] != '-' ||
        (s[10] != 'T' && s[10] != 't' && s[10] != ' ') || s[13] != ':' || s[16] != ':')
        return std::nullopt;
    size_t pos = 19;
    if (pos < s.size() && s[pos] == '.') {
        ++pos;
        while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9')
            ++pos;
    }
    int64_t offset = 0;
    if (pos < s.size() && (s[pos] == 'Z' || s[pos] == 'z')) {
        ++pos;
    } else if (pos < s.size() && (s[pos] == '+' || s[pos] == '-')) {
        auto oh = num(pos + 1, 2), om = num(pos + 4, 2);
        if (!oh || !om || s[pos + 3] != ':') return std::nullopt;
        offset = (*oh * 60 + *om) * 60 * (s[pos] == '-' ? -1 : 1);
        pos += 6;
    } else {
        return std::nullopt;
    }
    if (pos != s.size()) return std::nullopt;
    return dateFromComponents(*y, *mo, *d, *h, *mi, *se) - std::chrono::seconds(offset);
}

}  // namespace qb
