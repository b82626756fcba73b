// SPDX-License-Identifier: Apache-2.0
// Recurrence rules from the decoded pattern, and the events of changed occurrences.
#include "exporters/CalendarRecurrence.h"

#include <fmt/format.h>

#include <algorithm>

#include "exporters/CalendarLines.h"

namespace qb {

namespace {

constexpr const char* kWeekdays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

int64_t dayOf(uint32_t minutes) {
    const int64_t s = dateFromRecurrenceMinutes(minutes).time_since_epoch().count();
    return s / 86400 - (s % 86400 < 0 ? 1 : 0);
}

std::string weekdayList(uint32_t bits) {
    std::string out;
    for (unsigned d = 0; d < 7; ++d) {
        if (!(bits & (1u << d))) continue;
        if (!out.empty()) out += ',';
        out += kWeekdays[d];
    }
    return out;
}

// A day of the month as Outlook means it: past the month's end, its last day.
std::string monthDay(uint32_t day) {
    if (day < 29) return fmt::format("BYMONTHDAY={}", day);
    if (day >= 31) return "BYMONTHDAY=-1";
    std::string days = "28";
    for (uint32_t d = 29; d <= day; ++d)
        days += fmt::format(",{}", d);
    return fmt::format("BYMONTHDAY={};BYSETPOS=-1", days);
}

// A wall-clock time as a value of a property that follows DTSTART's form.
std::string timeValue(const char* name, Date local, const SeriesContext& s) {
    if (s.allDay) return fmt::format("{};VALUE=DATE:{}", name, formatCalendarDate(local));
    if (s.zone)
        return fmt::format("{};TZID=\"{}\":{}", name, s.zone->name(),
                           formatCalendarDateTime(local, false));
    return fmt::format("{}:{}", name, formatCalendarDateTime(local, true));
}

std::optional<std::string> rule(const AppointmentRecurrence& r, const SeriesContext& s) {
    const auto type = static_cast<RecurrencePatternType>(r.patternType);
    const bool yearly = r.frequency == static_cast<uint16_t>(RecurrenceFrequency::Yearly);
    const unsigned month = [&] {
        const auto ymd = std::chrono::year_month_day{
            std::chrono::sys_days(std::chrono::days(dayOf(r.startDate)))};
        return static_cast<unsigned>(ymd.month());
    }();
    if (r.period == 0) return std::nullopt;
    std::string text;
    switch (type) {
        case RecurrencePatternType::Day:
            if (r.period % 1440 != 0) return std::nullopt;
            text = fmt::format("FREQ=DAILY;INTERVAL={}", r.period / 1440);
            break;
        case RecurrencePatternType::Week:
            if ((r.weekDays & 0x7F) == 0) return std::nullopt;
            text =
                fmt::format("FREQ=WEEKLY;INTERVAL={};BYDAY={}", r.period, weekdayList(r.weekDays));
            break;
        case RecurrencePatternType::Month:
        case RecurrencePatternType::MonthNth:
        case RecurrencePatternType::MonthEnd: {
            std::string which;
            if (type == RecurrencePatternType::Month) {
                if (r.dayOfMonth < 1) return std::nullopt;
                which = monthDay(r.dayOfMonth);
            } else if (type == RecurrencePatternType::MonthEnd) {
                which = "BYMONTHDAY=-1";
            } else {
                if ((r.weekDays & 0x7F) == 0 || r.nth < 1) return std::nullopt;
                which = fmt::format("BYDAY={};BYSETPOS={}", weekdayList(r.weekDays),
                                    r.nth >= 5 ? -1 : static_cast<int>(r.nth));
            }
            if (yearly && r.period % 12 == 0)
                text = fmt::format("FREQ=YEARLY;INTERVAL={};BYMONTH={};{}", r.period / 12, month,
                                   which);
            else
                text = fmt::format("FREQ=MONTHLY;INTERVAL={};{}", r.period, which);
            break;
        }
        default:
            return std::nullopt;  // the Hijri calendar has no iCalendar form
    }
    if (r.endType == static_cast<uint32_t>(RecurrenceEndType::AfterCount)) {
        text += fmt::format(";COUNT={}", r.occurrenceCount);
    } else if (r.endType == static_cast<uint32_t>(RecurrenceEndType::AfterDate)) {
        const Date lastLocal =
            dateFromRecurrenceMinutes(r.endDate) + std::chrono::minutes(r.startTimeOffset);
        if (s.allDay)
            text += ";UNTIL=" + formatCalendarDate(lastLocal);
        else
            text += ";UNTIL=" +
                    formatCalendarDateTime(s.zone ? s.zone->utcTime(lastLocal) : lastLocal, true);
    }
    if (r.firstDayOfWeek != 1 && r.firstDayOfWeek < 7)
        text += fmt::format(";WKST={}", kWeekdays[r.firstDayOfWeek]);
    return "RRULE:" + text;
}

}  // namespace

std::string recurrenceRuleLines(const AppointmentRecurrence& r, const SeriesContext& s) {
    std::string out;
    auto line = rule(r, s);
    if (!line) return out;
    appendContentLine(out, *line);
    // Changed occurrences are also listed as deleted; their own events replace them.
    std::vector<int64_t> changed;
    for (const auto& e : r.exceptions)
        changed.push_back(dayOf(e.originalStartDate));
    std::vector<int64_t> deleted;
    for (uint32_t d : r.deletedInstanceDates) {
        const int64_t day = dayOf(d);
        if (std::find(changed.begin(), changed.end(), day) == changed.end()) deleted.push_back(day);
    }
    std::sort(deleted.begin(), deleted.end());
    deleted.erase(std::unique(deleted.begin(), deleted.end()), deleted.end());
    for (int64_t day : deleted) {
        const Date local(std::chrono::seconds(day * 86400 + int64_t(r.startTimeOffset) * 60));
        appendContentLine(out, timeValue("EXDATE", local, s));
    }
    return out;
}

std::string recurrenceExceptionEvents(const AppointmentRecurrence& r, const SeriesContext& s) {
    std::string out;
    if (!rule(r, s)) return out;
    for (const auto& e : r.exceptions) {
        appendContentLine(out, "BEGIN:VEVENT");
        if (!s.uid.empty()) appendContentLine(out, "UID:" + s.uid);
        if (!s.dtstamp.empty()) appendContentLine(out, "DTSTAMP:" + s.dtstamp);
        // The original start: the day it was moved from, at the series' time of day.
        const Date original(std::chrono::seconds(dayOf(e.originalStartDate) * 86400 +
                                                 int64_t(r.startTimeOffset) * 60));
        appendContentLine(out, timeValue("RECURRENCE-ID", original, s));
        appendContentLine(out, timeValue("DTSTART", dateFromRecurrenceMinutes(e.startDateTime), s));
        appendContentLine(out, timeValue("DTEND", dateFromRecurrenceMinutes(e.endDateTime), s));
        const int64_t day = dayOf(e.originalStartDate);
        const auto detail = std::find_if(s.changes.begin(), s.changes.end(),
                                         [&](const auto& c) { return c.originalDay == day; });
        std::string summary = s.summary;
        if (e.subject)
            summary = *e.subject;
        else if (detail != s.changes.end() && detail->summary)
            summary = *detail->summary;
        if (!summary.empty())
            appendContentLine(out, "SUMMARY:" + escapeContentValue(summary, LoneCR::LineBreak));
        if (detail != s.changes.end() && detail->description && !detail->description->empty())
            appendContentLine(
                out, "DESCRIPTION:" + escapeContentValue(*detail->description, LoneCR::LineBreak));
        const std::string location = e.location.value_or(s.location);
        if (!location.empty())
            appendContentLine(out, "LOCATION:" + escapeContentValue(location, LoneCR::LineBreak));
        appendContentLine(out, "END:VEVENT");
    }
    return out;
}

}  // namespace qb
