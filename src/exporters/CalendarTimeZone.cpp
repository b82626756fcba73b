// SPDX-License-Identifier: Apache-2.0
// Zone rules to UTC offsets and VTIMEZONE text; Windows zone names mapped to IANA through ICU.
#include "exporters/CalendarTimeZone.h"

#include <fmt/format.h>
#include <unicode/ucal.h>
#include <unicode/ustring.h>

#include <cstdlib>

#include "exporters/CalendarLines.h"
#include "model/NamedProperties.h"
#include "model/PropertyTags.h"

namespace qb {

namespace {

constexpr NamedProperty kTimeZoneDefinition{PSETID_Appointment, 0x825E, PT_BINARY};
constexpr NamedProperty kTimeZoneStruct{PSETID_Appointment, 0x8233, PT_BINARY};
constexpr NamedProperty kTimeZoneDescription{PSETID_Appointment, 0x8234, PT_STRING8};

constexpr const char* kWeekdays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

// "+HHMM" or "-HHMM" of minutes east of UTC.
std::string formatOffset(int32_t minutes) {
    const int32_t m = std::abs(minutes);
    return fmt::format("{}{:02}{:02}", minutes < 0 ? "-" : "+", m / 60, m % 60);
}

// The yearly rule of a change as an RRULE; the last week of a month is -1.
std::string yearlyRule(const SystemTime& t) {
    if (t.year != 0)
        return fmt::format("RRULE:FREQ=YEARLY;BYMONTH={};BYMONTHDAY={}", t.month, t.day);
    const int week = t.day >= 5 ? -1 : t.day < 1 ? 1 : t.day;
    return fmt::format("RRULE:FREQ=YEARLY;BYMONTH={};BYDAY={}{}", t.month, week,
                       kWeekdays[t.dayOfWeek % 7]);
}

void appendObservance(std::string& out, const char* kind, const std::string& name, int32_t from,
                      int32_t to, const std::string& start,
                      const std::optional<std::string>& rrule) {
    appendContentLine(out, fmt::format("BEGIN:{}", kind));
    appendContentLine(out, "TZOFFSETTO:" + formatOffset(to));
    appendContentLine(out, "TZOFFSETFROM:" + formatOffset(from));
    appendContentLine(out, fmt::format("TZNAME:{}({})", escapeContentValue(name, LoneCR::LineBreak),
                                       std::string_view(kind) == "DAYLIGHT" ? "DST" : "STD"));
    appendContentLine(out, "DTSTART:" + start);
    if (rrule) appendContentLine(out, *rrule);
    appendContentLine(out, fmt::format("END:{}", kind));
}

// A name for a zone known only by its offsets: "UTC+01:00".
std::string nameForOffset(int32_t minutes) {
    const int32_t m = std::abs(minutes);
    return fmt::format("UTC{}{:02}:{:02}", minutes < 0 ? "-" : "+", m / 60, m % 60);
}

}  // namespace

std::optional<std::string> timeZoneWithName(std::string_view windowsName) {
    if (windowsName.empty() || windowsName.size() > 128) return std::nullopt;
    UChar windows[129];
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(windows, 129, &length, windowsName.data(),
                  static_cast<int32_t>(windowsName.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    UChar iana[128];
    const int32_t n = ucal_getTimeZoneIDForWindowsID(windows, length, nullptr, iana, 128, &status);
    if (U_FAILURE(status) || n <= 0 || n >= 128) return std::nullopt;
    char utf8[512];
    int32_t written = 0;
    u_strToUTF8(utf8, sizeof utf8, &written, iana, n, &status);
    if (U_FAILURE(status)) return std::nullopt;
    return std::string(utf8, static_cast<size_t>(written));
}

std::optional<CalendarTimeZone> CalendarTimeZone::ofMessage(const OutlookMessage& message,
                                                            std::optional<Date> start) {
    const MAPIPropList* props = message.mapiprops();
    std::string description = stringForNamedProperty(props, kTimeZoneDescription).value_or("");
    std::optional<TimeZoneRule> rule;
    std::string name;
    // The year of the item in its zone; the standard offset of any rule is near enough here.
    auto yearOf = [&](const TimeZoneRule& r) {
        return start ? yearOfDate(*start + std::chrono::minutes(r.standardOffset())) : 0;
    };
    int64_t year = 0;
    if (auto bytes = bytesForNamedProperty(props, kTimeZoneDefinition)) {
        if (auto def = BinToTZDEFINITION(*bytes)) {
            year = yearOf(def->rules.front());
            rule = *def->ruleForYear(year);
            name = timeZoneWithName(def->keyName).value_or(def->keyName);
            if (description.empty()) description = def->keyName;
        }
    }
    if (!rule) {
        if (auto bytes = bytesForNamedProperty(props, kTimeZoneStruct)) {
            rule = BinToTZREG(*bytes);
            if (rule) year = yearOf(*rule);
        }
    }
    if (!rule) return std::nullopt;
    if (name.empty())
        name = description.empty() ? nameForOffset(rule->standardOffset()) : description;
    return CalendarTimeZone(std::move(name), std::move(description), *rule, year);
}

CalendarTimeZone::CalendarTimeZone(std::string name, std::string description, TimeZoneRule rule,
                                   int64_t year)
    : name_(std::move(name)), description_(std::move(description)), rule_(rule), year_(year) {
    // The name stands in TZID lines and quoted TZID parameters, which hold neither.
    for (char& c : name_)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '"') c = '_';
}

Date CalendarTimeZone::localTime(Date utc) const {
    return utc + std::chrono::minutes(rule_.offsetAt(utc));
}

Date CalendarTimeZone::utcTime(Date local) const {
    return local - std::chrono::minutes(rule_.offsetAtLocal(local));
}

std::string CalendarTimeZone::vtimezone() const {
    std::string out;
    appendContentLine(out, "BEGIN:VTIMEZONE");
    appendContentLine(out, "TZID:" + name_);
    const int32_t standard = rule_.standardOffset();
    const int32_t daylight = rule_.daylightOffset();
    // The observances start the year before the item's, so that its whole year is covered.
    const int64_t from = (year_ > 1601 ? year_ : 1602) - 1;
    auto toDaylight = TimeZoneRule::transitionInYear(rule_.daylightDate, from);
    auto toStandard = TimeZoneRule::transitionInYear(rule_.standardDate, from);
    if (rule_.observesDaylight() && toDaylight && toStandard) {
        appendObservance(out, "DAYLIGHT", name_, standard, daylight,
                         formatCalendarDateTime(*toDaylight, false),
                         yearlyRule(rule_.daylightDate));
        appendObservance(out, "STANDARD", name_, daylight, standard,
                         formatCalendarDateTime(*toStandard, false),
                         yearlyRule(rule_.standardDate));
    } else {
        appendObservance(out, "STANDARD", name_, standard, standard, "16010101T000000",
                         std::nullopt);
    }
    if (!description_.empty())
        appendContentLine(
            out, "X-TIMEZONE-DESCRIPTION:" + escapeContentValue(description_, LoneCR::LineBreak));
    appendContentLine(out, "END:VTIMEZONE");
    return out;
}

}  // namespace qb
