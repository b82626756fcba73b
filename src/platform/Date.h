// SPDX-License-Identifier: Apache-2.0
// Dates in UTC seconds: made by the readers from FILETIME ticks or TNEF date fields, written
// as RFC 3339 in metadata and as RFC 2822 in mail headers.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace qb {

/// A point in time, whole seconds, UTC.
using Date = std::chrono::sys_seconds;

/// FILETIME (100 ns ticks since 1601-01-01) -> date, truncated to whole seconds.
QB_API Date dateFromFileTime(uint64_t ticks);

/// A calendar date and time in UTC. Out-of-range fields carry over the way a lenient calendar
/// does it: month 13 is January of the next year, day 0 the last day of the month before.
QB_API Date dateFromComponents(int64_t year, int64_t month, int64_t day, int64_t hour,
                               int64_t minute, int64_t second);

/// "YYYY-MM-DDTHH:MM:SSZ"
QB_API std::string formatRFC3339(Date date);
/// "Wed, 22 Apr 2009 14:36:33 +0000", the date-time of a mail header.
QB_API std::string formatRFC2822(Date date);

}  // namespace qb

namespace qb {

/// Parses "YYYY-MM-DDTHH:MM:SS" followed by "Z" or a "+HH:MM"/"-HH:MM" offset; fractions of a
/// second are dropped.
QB_API std::optional<Date> parseRFC3339(std::string_view text);

}  // namespace qb
