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
