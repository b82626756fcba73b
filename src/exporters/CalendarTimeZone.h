// SPDX-License-Identifier: Apache-2.0
// The time zone of a calendar item: the stored definition (or registry structure) with the
// rule in force in the item's year, its name for TZID lines, and its VTIMEZONE block.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/OutlookMessage.h"
#include "model/TimeZoneDefinition.h"

namespace qb {

class CalendarTimeZone {
  public:
    // From the item's zone definition, else from its registry structure; `start` picks the
    // year whose rule applies. Nothing when the item stores neither in readable form.
    static std::optional<CalendarTimeZone> ofMessage(const OutlookMessage& message,
                                                     std::optional<Date> start);
    // `name` loses the characters a TZID cannot hold (controls, '"').
    CalendarTimeZone(std::string name, std::string description, TimeZoneRule rule, int64_t year);

    // The TZID: the IANA zone of the Windows name when there is one.
    const std::string& name() const { return name_; }
    const std::string& description() const { return description_; }
    const TimeZoneRule& rule() const { return rule_; }

    // Wall-clock time (fields in a Date) of an instant, and the instant of a wall-clock time.
    Date localTime(Date utc) const;
    Date utcTime(Date local) const;

    // BEGIN:VTIMEZONE ... END:VTIMEZONE, each line ended by CR LF.
    std::string vtimezone() const;

  private:
    std::string name_, description_;
    TimeZoneRule rule_;
    int64_t year_;
};

// The IANA zone for a Windows zone name ("W. Europe Standard Time" -> "Europe/Berlin").
std::optional<std::string> timeZoneWithName(std::string_view windowsName);

}  // namespace qb
