// A stored recurrence as iCalendar: the RRULE and EXDATE lines of the series and one VEVENT
// per changed occurrence.
#pragma once

#include <optional>
#include <string>

#include "exporters/CalendarTimeZone.h"
#include "model/AppointmentRecurrence.h"

namespace qb {

// What the lines of a series share with its changed occurrences.
struct SeriesContext {
    const CalendarTimeZone* zone = nullptr;  // none: wall-clock times are taken as UTC
    bool allDay = false;
    std::string uid, dtstamp, summary, location;
};

// RRULE (when the pattern is one iCalendar can say) and EXDATE lines, each ended by CR LF.
std::string recurrenceRuleLines(const AppointmentRecurrence& r, const SeriesContext& series);
// BEGIN:VEVENT ... END:VEVENT for each changed occurrence.
std::string recurrenceExceptionEvents(const AppointmentRecurrence& r, const SeriesContext& series);

}  // namespace qb
