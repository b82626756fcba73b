// SPDX-License-Identifier: Apache-2.0
#include "support/CalendarItems.h"

#include "model/PropertyTags.h"
#include "tnef/TNEFMessage.h"

namespace qb::test {

namespace {

std::string setBytes(const PropertySet& set) {
    return std::string(reinterpret_cast<const char*>(set.bytes().data()), set.bytes().size());
}

SystemTime yearly(uint16_t month, uint16_t dayOfWeek, uint16_t week, uint16_t hour) {
    SystemTime t;
    t.month = month;
    t.dayOfWeek = dayOfWeek;
    t.day = week;
    t.hour = hour;
    return t;
}

}  // namespace

std::string systemTimeBytes(const SystemTime& t) {
    return ByteWriter()
        .u16(t.year)
        .u16(t.month)
        .u16(t.dayOfWeek)
        .u16(t.day)
        .u16(t.hour)
        .u16(t.minute)
        .u16(t.second)
        .u16(t.milliseconds)
        .str();
}

std::string tzRegBytes(const TimeZoneRule& r) {
    return ByteWriter()
        .u32(static_cast<uint32_t>(r.bias))
        .u32(static_cast<uint32_t>(r.standardBias))
        .u32(static_cast<uint32_t>(r.daylightBias))
        .u16(0)
        .raw(systemTimeBytes(r.standardDate))
        .u16(0)
        .raw(systemTimeBytes(r.daylightDate))
        .str();
}

std::string tzDefinitionBytes(const std::string& keyName, const std::vector<TimeZoneRule>& rules) {
    const std::string key = utf16le(keyName, false);
    ByteWriter w;
    w.u8(2)
        .u8(1)
        .u16(static_cast<uint16_t>(6 + key.size()))
        .u16(2)
        .u16(static_cast<uint16_t>(key.size() / 2))
        .raw(key)
        .u16(static_cast<uint16_t>(rules.size()));
    for (const auto& r : rules) {
        w.u8(2)
            .u8(1)
            .u16(0x003E)
            .u16(r.flags)
            .u16(r.year)
            .zeros(14)
            .u32(static_cast<uint32_t>(r.bias))
            .u32(static_cast<uint32_t>(r.standardBias))
            .u32(static_cast<uint32_t>(r.daylightBias))
            .raw(systemTimeBytes(r.standardDate))
            .raw(systemTimeBytes(r.daylightDate));
    }
    return w.str();
}

TimeZoneRule westEuropeRule() {
    TimeZoneRule r;
    r.bias = -60;
    r.daylightBias = -60;
    r.standardDate = yearly(10, 0, 5, 3);
    r.daylightDate = yearly(3, 0, 5, 2);
    return r;
}

TimeZoneRule usEasternRule() {
    TimeZoneRule r;
    r.bias = 300;
    r.daylightBias = -60;
    r.standardDate = yearly(11, 0, 1, 2);
    r.daylightDate = yearly(3, 0, 2, 2);
    return r;
}

TimeZoneRule sydneyRule() {
    TimeZoneRule r;
    r.bias = -600;
    r.daylightBias = -60;
    r.standardDate = yearly(4, 0, 1, 3);
    r.daylightDate = yearly(10, 0, 1, 2);
    return r;
}

uint32_t recurrenceMinutes(int year, int month, int day, int hour, int minute) {
    const Date d = dateFromComponents(year, month, day, hour, minute, 0);
    return static_cast<uint32_t>(d.time_since_epoch().count() / 60 + 11644473600LL / 60);
}

std::string RecurrenceBlob::bytes() const {
    ByteWriter w;
    w.u16(0x3004).u16(0x3004).u16(frequency).u16(patternType).u16(0).u32(0).u32(period).u32(0);
    if (patternType == 1) w.u32(weekDays);
    if (patternType == 2 || patternType == 4 || patternType == 0x0A || patternType == 0x0C)
        w.u32(dayOfMonth);
    if (patternType == 3 || patternType == 0x0B) w.u32(weekDays).u32(nth);
    w.u32(endType).u32(occurrenceCount).u32(firstDayOfWeek);
    w.u32(static_cast<uint32_t>(deleted.size()));
    for (uint32_t d : deleted)
        w.u32(d);
    w.u32(static_cast<uint32_t>(modified.size()));
    for (uint32_t d : modified)
        w.u32(d);
    w.u32(startDate).u32(endDate);
    if (!appointmentPart) return w.str();
    w.u32(0x3006).u32(writerVersion2).u32(startTimeOffset).u32(endTimeOffset);
    w.u16(static_cast<uint16_t>(changes.size()));
    auto flags = [](const Change& c) {
        return static_cast<uint16_t>((c.subject.empty() ? 0 : 0x0001) |
                                     (c.location.empty() ? 0 : 0x0010));
    };
    for (const auto& c : changes) {
        w.u32(c.start).u32(c.end).u32(c.original).u16(flags(c));
        // The 8-bit forms say "?" for what 8 bits cannot hold; the Unicode forms follow.
        if (!c.subject.empty())
            w.u16(static_cast<uint16_t>(c.subject.size() + 1))
                .u16(static_cast<uint16_t>(c.subject.size()))
                .raw(std::string(c.subject.size(), '?'));
        if (!c.location.empty())
            w.u16(static_cast<uint16_t>(c.location.size() + 1))
                .u16(static_cast<uint16_t>(c.location.size()))
                .raw(std::string(c.location.size(), '?'));
    }
    w.u32(0);  // reserved block
    for (const auto& c : changes) {
        if (writerVersion2 >= 0x3009) w.u32(4).u32(0);  // change highlight
        w.u32(0);
        if (flags(c)) {
            w.u32(c.start).u32(c.end).u32(c.original);
            const std::string subject = utf16le(c.subject, false);
            const std::string location = utf16le(c.location, false);
            if (!c.subject.empty()) w.u16(static_cast<uint16_t>(subject.size() / 2)).raw(subject);
            if (!c.location.empty())
                w.u16(static_cast<uint16_t>(location.size() / 2)).raw(location);
        }
        w.u32(0);
    }
    w.u32(0);  // reserved block
    return w.str();
}

std::string fileTimeBytes(Date date) {
    const uint64_t ticks =
        static_cast<uint64_t>(date.time_since_epoch().count() + 11644473600LL) * 10'000'000ULL;
    return ByteWriter().u64(ticks).str();
}

CalendarItem& CalendarItem::named(const PropertySet& set, uint32_t lid, uint16_t type,
                                  const std::string& valueBytes) {
    props_.namedNumber(type, next_++, setBytes(set), lid, valueBytes);
    return *this;
}

CalendarItem& CalendarItem::time(const PropertySet& set, uint32_t lid, Date when) {
    return named(set, lid, PT_SYSTIME, fileTimeBytes(when));
}

CalendarItem& CalendarItem::text(const PropertySet& set, uint32_t lid, const std::string& utf8) {
    return named(set, lid, PT_UNICODE, PropsWriter::counted(utf16le(utf8)));
}

CalendarItem& CalendarItem::binary(const PropertySet& set, uint32_t lid, const std::string& bytes) {
    return named(set, lid, PT_BINARY, PropsWriter::counted(bytes));
}

CalendarItem& CalendarItem::number(const PropertySet& set, uint32_t lid, uint32_t value) {
    return named(set, lid, PT_LONG, PropsWriter::le32(value));
}

CalendarItem& CalendarItem::flag(const PropertySet& set, uint32_t lid, bool value) {
    return named(set, lid, PT_BOOLEAN, PropsWriter::le32(value ? 1 : 0));
}

CalendarItem& CalendarItem::times(Date start, Date end) {
    time(PSETID_Appointment, 0x820D, start);
    return time(PSETID_Appointment, 0x820E, end);
}

std::string CalendarItem::tnef(const std::string& messageClass) const {
    return TNEFWriter().version().messageClass(messageClass).mapiProps(props_).str();
}

std::shared_ptr<FakeMessage> CalendarItem::message(const std::string& messageClass) const {
    auto source = readTNEF(tnef(messageClass));
    auto m = FakeMessage::make();
    m->borrowPropertiesOf(source);
    m->messageClass_ = messageClass;
    return m;
}

}  // namespace qb::test
