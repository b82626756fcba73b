// SPDX-License-Identifier: Apache-2.0
// A stored recurrence as iCalendar: the RRULE and EXDATE lines of the series and one VEVENT
// per changed occurrence.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exporters/CalendarTimeZone.h"
#include "model/AppointmentRecurrence.h"

namespace qb {

// What a changed occurrence's own embedded message says about it.
struct ChangedOccurrence {
    int64_t originalDay = 0;  // wall-clock day it was moved from, in days since 1970-01-01
    std::optional<std::string> summary, description;
};

// What the lines of a series share with its changed occurrences.
struct SeriesContext {
    const CalendarTimeZone* zone = nullptr;  // none: wall-clock times are taken as UTC
    bool allDay = false;
    std::string uid, dtstamp, summary, location;
    std::vector<ChangedOccurrence> changes;
};

// RRULE (when the pattern is one iCalendar can say) and EXDATE lines, each ended by CR LF.
std::string recurrenceRuleLines(const AppointmentRecurrence& r, const SeriesContext& series);
// BEGIN:VEVENT ... END:VEVENT for each changed occurrence.
std::string recurrenceExceptionEvents(const AppointmentRecurrence& r, const SeriesContext& series);

}  // namespace qb
