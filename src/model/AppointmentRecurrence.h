// SPDX-License-Identifier: Apache-2.0
// The recurrence of an appointment as Outlook stores it (PidLidAppointmentRecur): the
// pattern, how it ends, the deleted and changed occurrences, and what each change changed.
// Times in it are minutes since 1601-01-01 on the item's own wall clock.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Date.h"
#include "platform/StringEncoding.h"

namespace qb {

enum class RecurrenceFrequency : uint16_t {
    Daily = 0x200A,
    Weekly = 0x200B,
    Monthly = 0x200C,
    Yearly = 0x200D,
};

enum class RecurrencePatternType : uint16_t {
    Day = 0x0000,
    Week = 0x0001,
    Month = 0x0002,
    MonthNth = 0x0003,
    MonthEnd = 0x0004,
    HijriMonth = 0x000A,
    HijriMonthNth = 0x000B,
    HijriMonthEnd = 0x000C,
};

enum class RecurrenceEndType : uint32_t {
    AfterDate = 0x2021,
    AfterCount = 0x2022,
    Never = 0x2023,
    NeverOld = 0xFFFFFFFF,
};

// One changed occurrence and the fields it changed.
struct RecurrenceException {
    uint32_t startDateTime = 0, endDateTime = 0, originalStartDate = 0;
    uint16_t overrideFlags = 0;
    std::optional<std::string> subject, location;  // the Unicode forms when stored
    std::optional<uint32_t> busyStatus, reminderDelta, reminderSet, subType;
};

struct AppointmentRecurrence {
    uint16_t frequency = 0;
    uint16_t patternType = 0;
    uint16_t calendarType = 0;
    uint32_t firstDateTime = 0;
    uint32_t period = 0;
    uint32_t weekDays = 0;    // Sunday 0x01 ... Saturday 0x40 (week and month-nth patterns)
    uint32_t dayOfMonth = 0;  // month pattern
    uint32_t nth = 0;         // month-nth pattern: 1 to 4, 5 = the last
    uint32_t endType = 0;
    uint32_t occurrenceCount = 0;
    uint32_t firstDayOfWeek = 0;  // 0 = Sunday
    std::vector<uint32_t> deletedInstanceDates, modifiedInstanceDates;
    uint32_t startDate = 0, endDate = 0;
    // The appointment part; absent in a bare recurrence pattern.
    bool hasTimes = false;
    uint32_t startTimeOffset = 0, endTimeOffset = 0;
    std::vector<RecurrenceException> exceptions;

    // Wall-clock starts of the first `count` occurrences the pattern describes, deleted ones
    // left out and changed ones at their changed times, in order; at most `count`.
    std::vector<Date> firstOccurrences(size_t count) const;
};

// Nothing when the pattern cannot be read whole; a damaged appointment part or exception
// list keeps what was read before it. 8-bit subjects and locations are in `encoding`.
std::optional<AppointmentRecurrence> readAppointmentRecurrence(const Bytes& blob,
                                                               StringEncoding encoding);

// The wall-clock time of a count of minutes since 1601-01-01.
Date dateFromRecurrenceMinutes(uint32_t minutes);

}  // namespace qb
