// SPDX-License-Identifier: Apache-2.0
// The time zones stored with appointments: the registry form (one rule) and the definition
// form (a Windows zone name and rules by year), decoded and turned into offsets, so that the
// calendar exporter can write local times and VTIMEZONE blocks that match the stored instants.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Date.h"

namespace qb {

// A Windows SYSTEMTIME. With year 0 it is a yearly rule: `day` is then the week of the
// month (1 to 4, 5 = the last) on which `dayOfWeek` (0 = Sunday) falls.
struct SystemTime {
    uint16_t year = 0, month = 0, dayOfWeek = 0, day = 0;
    uint16_t hour = 0, minute = 0, second = 0, milliseconds = 0;
};

// One rule of a zone. Biases are minutes, UTC = local + bias (+ the standard or daylight
// bias in force).
struct TimeZoneRule {
    uint16_t year = 0;  // the first year the rule applies to; 0 for every year
    uint16_t flags = 0;
    int32_t bias = 0, standardBias = 0, daylightBias = 0;
    SystemTime standardDate, daylightDate;

    bool observesDaylight() const { return standardDate.month != 0 && daylightDate.month != 0; }
    // Minutes east of UTC, within a day either way whatever the stored biases say.
    int32_t standardOffset() const { return offsetOf(standardBias); }
    int32_t daylightOffset() const { return offsetOf(daylightBias); }

    // The wall-clock moment (local time as it was before the change) at which `date` takes
    // effect in `year`; nothing for a date that names no valid month.
    static std::optional<Date> transitionInYear(const SystemTime& date, int64_t year);
    // Whether a wall-clock time (fields in a Date) is daylight time.
    bool isDaylightAtLocal(Date local) const;
    // Whether an instant is daylight time.
    bool isDaylightAt(Date utc) const;
    // Minutes east of UTC at an instant and at a wall-clock time.
    int32_t offsetAt(Date utc) const;
    int32_t offsetAtLocal(Date local) const;

  private:
    int32_t offsetOf(int32_t extraBias) const;
};

struct TimeZoneDefinition {
    std::string keyName;  // the Windows zone name, e.g. "W. Europe Standard Time"
    std::vector<TimeZoneRule> rules;

    // The rule in force in `year`: the latest whose year is not after it, else the earliest.
    const TimeZoneRule* ruleForYear(int64_t year) const;
};

// PidLidAppointmentTimeZoneDefinition*: nothing when the header is broken or no rule can be
// read; rules past the data are dropped.
std::optional<TimeZoneDefinition> BinToTZDEFINITION(const Bytes& data);
// PidLidTimeZoneStruct: nothing when shorter than its 48 bytes.
std::optional<TimeZoneRule> BinToTZREG(const Bytes& data);

// The calendar year of a wall-clock or UTC time held in a Date.
int64_t yearOfDate(Date date);

}  // namespace qb
