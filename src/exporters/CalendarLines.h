// SPDX-License-Identifier: Apache-2.0
// iCalendar content lines: folding, value escaping and the date forms the calendar exporter
// writes.
#pragma once

#include <string>
#include <string_view>

#include "exporters/Ivex.h"
#include "platform/Date.h"

namespace qb {

// Appends `line` folded to lines of at most 75 octets (continuations begin with one space;
// a UTF-8 sequence is never cut), then CR LF.
void appendContentLine(std::string& out, std::string_view line);

// Parameter values: CR -> "\r", '"' -> '\"'.
std::string escapeParamValue(std::string_view value);
bool isEmailAddress(std::string_view text);

// "yyyyMMdd'T'HHmmss" of the date's fields, with "Z" when `utc`.
std::string formatCalendarDateTime(Date date, bool utc);
// "yyyyMMdd".
std::string formatCalendarDate(Date date);
// "yyyyMMdd-HHmmss", as calendar file names carry it.
std::string formatCalendarFileStamp(Date date);

}  // namespace qb
