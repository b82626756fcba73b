// SPDX-License-Identifier: Apache-2.0
#pragma once

// Calendar items for tests: the stored time-zone and recurrence structures as bytes, and
// appointments, meetings and tasks whose named properties a test sets one by one.
#include <memory>
#include <string>
#include <vector>

#include "model/NamedProperties.h"
#include "model/TimeZoneDefinition.h"
#include "support/FakeMessage.h"
#include "support/TNEFWriter.h"

namespace qb::test {

std::string systemTimeBytes(const SystemTime& t);
// PidLidTimeZoneStruct, 48 bytes.
std::string tzRegBytes(const TimeZoneRule& rule);
// PidLidAppointmentTimeZoneDefinition*: a key name and rules of 66 bytes each.
std::string tzDefinitionBytes(const std::string& keyName, const std::vector<TimeZoneRule>& rules);

// Zones as Windows stores them.
TimeZoneRule westEuropeRule();  // +01:00, daylight last Sunday March to last Sunday October
TimeZoneRule usEasternRule();   // -05:00, daylight second Sunday March to first Sunday November
TimeZoneRule sydneyRule();      // +10:00, daylight first Sunday October to first Sunday April

// Minutes since 1601-01-01 of a wall-clock time, as recurrences store times.
uint32_t recurrenceMinutes(int year, int month, int day, int hour = 0, int minute = 0);

// A PidLidAppointmentRecur blob; by default a weekly Monday series from 2024-01-01 at 09:00
// for an hour, never ending, weeks starting on Sunday.
struct RecurrenceBlob {
    struct Change {
        uint32_t start = 0, end = 0, original = 0;
        std::string subject, location;  // stored when not empty, 8-bit and Unicode
    };
    uint16_t frequency = 0x200B, patternType = 1;
    uint32_t period = 1, weekDays = 0x02, dayOfMonth = 0, nth = 0;
    uint32_t endType = 0x2023, occurrenceCount = 10, firstDayOfWeek = 0;
    std::vector<uint32_t> deleted, modified;
    uint32_t startDate = recurrenceMinutes(2024, 1, 1), endDate = 0x5AE980DF;
    bool appointmentPart = true;
    uint32_t startTimeOffset = 540, endTimeOffset = 600;
    uint32_t writerVersion2 = 0x3009;
    std::vector<Change> changes;

    std::string bytes() const;
};

// FILETIME bytes of a date.
std::string fileTimeBytes(Date date);

// A calendar item under construction: named properties are numbered 0x8000 and up, as a
// TNEF stream written by Outlook numbers them.
class CalendarItem {
  public:
    CalendarItem& named(const PropertySet& set, uint32_t lid, uint16_t type,
                        const std::string& valueBytes);
    CalendarItem& time(const PropertySet& set, uint32_t lid, Date when);
    CalendarItem& text(const PropertySet& set, uint32_t lid, const std::string& utf8);
    CalendarItem& binary(const PropertySet& set, uint32_t lid, const std::string& bytes);
    CalendarItem& number(const PropertySet& set, uint32_t lid, uint32_t value);
    CalendarItem& flag(const PropertySet& set, uint32_t lid, bool value);
    // Start and end (PidLidAppointmentStartWhole / EndWhole).
    CalendarItem& times(Date start, Date end);
    PropsWriter& props() { return props_; }

    // The item as a message of this class; its people are set on the message.
    std::shared_ptr<FakeMessage> message(const std::string& messageClass) const;
    // The item as a TNEF stream of this class.
    std::string tnef(const std::string& messageClass) const;

  private:
    PropsWriter props_;
    uint16_t next_ = 0x8000;
};

}  // namespace qb::test
