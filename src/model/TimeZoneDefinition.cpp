// SPDX-License-Identifier: Apache-2.0
// Decoding both stored zone forms, bounded by the bytes they hold.
#include "model/TimeZoneDefinition.h"

#include <algorithm>
#include <chrono>

#include "platform/ByteReader.h"
#include "platform/StringEncoding.h"

namespace qb {

namespace {

constexpr uint8_t kDefinitionMajorVersion = 2;
constexpr size_t kRuleSize = 66;
constexpr size_t kRegistrySize = 48;
constexpr size_t kRuleDatesOffset = 8 + 14;  // version, reserved, flags, year, then 14 unused

using std::chrono::days;
using std::chrono::sys_days;

SystemTime readSystemTime(ByteCursor& in) {
    SystemTime t;
    t.year = in.u16le();
    t.month = in.u16le();
    t.dayOfWeek = in.u16le();
    t.day = in.u16le();
    t.hour = in.u16le();
    t.minute = in.u16le();
    t.second = in.u16le();
    t.milliseconds = in.u16le();
    return t;
}

// Biases and the two dates, as both stored forms end.
void readBiasesAndDates(ByteCursor& in, TimeZoneRule& rule, bool yearsBeforeDates) {
    rule.bias = static_cast<int32_t>(in.u32le());
    rule.standardBias = static_cast<int32_t>(in.u32le());
    rule.daylightBias = static_cast<int32_t>(in.u32le());
    if (yearsBeforeDates) in.u16le();
    rule.standardDate = readSystemTime(in);
    if (yearsBeforeDates) in.u16le();
    rule.daylightDate = readSystemTime(in);
}

int64_t dayCount(Date d) {
    const int64_t s = d.time_since_epoch().count();
    return s / 86400 - (s % 86400 < 0 ? 1 : 0);
}

// Whether `t` lies in the daylight part of a year whose changes are at `toDaylight` and
// `toStandard`, both on the same clock as `t`.
bool inDaylight(Date t, Date toDaylight, Date toStandard) {
    if (toDaylight < toStandard) return t >= toDaylight && t < toStandard;
    // Southern hemisphere: daylight time runs across New Year.
    return t >= toDaylight || t < toStandard;
}

}  // namespace

int64_t yearOfDate(Date date) {
    const std::chrono::year_month_day ymd{sys_days(days(dayCount(date)))};
    return static_cast<int>(ymd.year());
}

std::optional<Date> TimeZoneRule::transitionInYear(const SystemTime& date, int64_t inYear) {
    if (date.month < 1 || date.month > 12 || date.hour > 23 || date.minute > 59)
        return std::nullopt;
    const int64_t timeOfDay = date.hour * 3600 + date.minute * 60 + (date.second % 60);
    if (date.year != 0) {
        if (date.day < 1 || date.day > 31) return std::nullopt;
        return dateFromComponents(inYear, date.month, date.day, 0, 0, timeOfDay);
    }
    const Date first = dateFromComponents(inYear, date.month, 1, 0, 0, 0);
    const int64_t firstDay = dayCount(first);
    // 1970-01-01 was a Thursday (4).
    const int64_t firstWeekday = ((firstDay + 4) % 7 + 7) % 7;
    int64_t day = 1 + ((date.dayOfWeek % 7) - firstWeekday + 7) % 7;
    const int64_t week = date.day < 1 ? 1 : date.day > 5 ? 5 : date.day;
    day += 7 * (week - 1);
    const int64_t monthLength =
        dayCount(dateFromComponents(inYear, date.month + 1, 1, 0, 0, 0)) - firstDay;
    while (day > monthLength)
        day -= 7;
    return Date(std::chrono::seconds((firstDay + day - 1) * 86400 + timeOfDay));
}

bool TimeZoneRule::isDaylightAtLocal(Date local) const {
    if (!observesDaylight()) return false;
    const int64_t y = yearOfDate(local);
    auto toDaylight = transitionInYear(daylightDate, y);
    auto toStandard = transitionInYear(standardDate, y);
    if (!toDaylight || !toStandard) return false;
    return inDaylight(local, *toDaylight, *toStandard);
}

bool TimeZoneRule::isDaylightAt(Date utc) const {
    if (!observesDaylight()) return false;
    const int64_t y = yearOfDate(utc + std::chrono::minutes(standardOffset()));
    auto toDaylight = transitionInYear(daylightDate, y);
    auto toStandard = transitionInYear(standardDate, y);
    if (!toDaylight || !toStandard) return false;
    // Each change happens at a wall-clock time of the period it ends.
    return inDaylight(utc, *toDaylight - std::chrono::minutes(standardOffset()),
                      *toStandard - std::chrono::minutes(daylightOffset()));
}

int32_t TimeZoneRule::offsetOf(int32_t extraBias) const {
    constexpr int64_t kDay = 24 * 60;
    return static_cast<int32_t>(std::clamp<int64_t>(-(int64_t{bias} + extraBias), -kDay, kDay));
}

int32_t TimeZoneRule::offsetAt(Date utc) const {
    return isDaylightAt(utc) ? daylightOffset() : standardOffset();
}

int32_t TimeZoneRule::offsetAtLocal(Date local) const {
    return isDaylightAtLocal(local) ? daylightOffset() : standardOffset();
}

const TimeZoneRule* TimeZoneDefinition::ruleForYear(int64_t year) const {
    const TimeZoneRule* found = nullptr;
    const TimeZoneRule* earliest = nullptr;
    for (const auto& rule : rules) {
        if (!earliest || rule.year < earliest->year) earliest = &rule;
        if (rule.year <= year && (!found || rule.year >= found->year)) found = &rule;
    }
    return found ? found : earliest;
}

std::optional<TimeZoneDefinition> BinToTZDEFINITION(const Bytes& data) {
    ByteReader in(data);
    const auto major = in.u8();
    const auto minor = in.u8();
    const auto headerSize = in.u16le();
    if (!major || !minor || !headerSize || *major != kDefinitionMajorVersion) return std::nullopt;
    const size_t headerEnd = in.position() + *headerSize;
    const auto reserved = in.u16le();
    const auto keyLength = in.u16le();
    if (!reserved || !keyLength) return std::nullopt;
    const auto key = in.takeArray(*keyLength, 2);
    const auto ruleCount = in.u16le();
    if (!key || !ruleCount) return std::nullopt;
    // The header size says where the rules begin, when it is not smaller than what was read.
    if (headerEnd > in.position()) in.seek(headerEnd);

    TimeZoneDefinition def;
    def.keyName = utf16leToUTF8(key->span());
    const uint64_t count = in.fitCount(*ruleCount, kRuleSize);
    for (uint64_t i = 0; i < count; ++i) {
        auto record = in.take(kRuleSize);
        if (!record) break;
        ByteCursor rule(*record, 4);
        TimeZoneRule r;
        r.flags = rule.u16le();
        r.year = rule.u16le();
        rule.skip(kRuleDatesOffset - 8);
        readBiasesAndDates(rule, r, false);
        if (rule.ok()) def.rules.push_back(r);
    }
    if (def.rules.empty()) return std::nullopt;
    return def;
}

std::optional<TimeZoneRule> BinToTZREG(const Bytes& data) {
    if (data.size() < kRegistrySize) return std::nullopt;
    ByteCursor in(data);
    TimeZoneRule r;
    readBiasesAndDates(in, r, true);
    if (!in.ok()) return std::nullopt;
    return r;
}

}  // namespace qb
