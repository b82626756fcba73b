// SPDX-License-Identifier: Apache-2.0
// Decoding the stored pattern with every count checked against the bytes left.
#include "model/AppointmentRecurrence.h"

#include <algorithm>
#include <chrono>

#include "platform/ByteReader.h"

namespace qb {

namespace {

constexpr int64_t kUnixEpochMinutesSince1601 = 11644473600LL / 60;
constexpr size_t kExceptionInfoMinSize = 14;
constexpr uint32_t kExtendedExceptionsSince = 0x3009;
// What the occurrence walk looks at before it gives up: a century of days.
constexpr int64_t kWalkLimitDays = 366 * 100;

enum OverrideFlag : uint16_t {
    kSubject = 0x0001,
    kMeetingType = 0x0002,
    kReminderDelta = 0x0004,
    kReminder = 0x0008,
    kLocation = 0x0010,
    kBusyStatus = 0x0020,
    kAttachment = 0x0040,
    kSubType = 0x0080,
    kAppointmentColor = 0x0100,
};

std::vector<uint32_t> readDates(ByteCursor& in) {
    const uint32_t count = in.u32le();
    const Bytes array = in.takeArray(count, 4);
    std::vector<uint32_t> dates;
    if (!in.ok()) return dates;
    ByteReader r(array);
    dates.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
        dates.push_back(*r.u32le());
    return dates;
}

// An 8-bit text with its two lengths (the second counts the bytes).
std::optional<std::string> readNarrowText(ByteCursor& in, StringEncoding encoding) {
    in.u16le();
    const Bytes text = in.take(in.u16le());
    if (!in.ok()) return std::nullopt;
    return decodeMessageText(text.span(), encoding);
}

bool readExceptionInfo(ByteCursor& in, RecurrenceException& e, StringEncoding encoding) {
    e.startDateTime = in.u32le();
    e.endDateTime = in.u32le();
    e.originalStartDate = in.u32le();
    e.overrideFlags = in.u16le();
    const uint16_t f = e.overrideFlags;
    if (f & kSubject) e.subject = readNarrowText(in, encoding);
    if (f & kMeetingType) in.u32le();
    if (f & kReminderDelta) e.reminderDelta = in.u32le();
    if (f & kReminder) e.reminderSet = in.u32le();
    if (f & kLocation) e.location = readNarrowText(in, encoding);
    if (f & kBusyStatus) e.busyStatus = in.u32le();
    if (f & kAttachment) in.u32le();
    if (f & kSubType) e.subType = in.u32le();
    if (f & kAppointmentColor) in.u32le();
    return in.ok();
}

std::optional<std::string> readWideText(ByteCursor& in) {
    const Bytes text = in.takeArray(in.u16le(), 2);
    if (!in.ok()) return std::nullopt;
    return utf16leToUTF8(text.span());
}

// The Unicode subject and location that follow the 8-bit ones; they replace them.
bool readExtendedException(ByteCursor& in, RecurrenceException& e, uint32_t writerVersion) {
    if (writerVersion >= kExtendedExceptionsSince) in.skip(in.u32le());  // change highlight
    in.skip(in.u32le());                                                 // reserved
    if (e.overrideFlags & (kSubject | kLocation)) {
        in.skip(12);  // the three times again
        if (e.overrideFlags & kSubject)
            if (auto s = readWideText(in)) e.subject = s;
        if (e.overrideFlags & kLocation)
            if (auto s = readWideText(in)) e.location = s;
    }
    in.skip(in.u32le());  // reserved
    return in.ok();
}

void readAppointmentPart(ByteCursor& in, AppointmentRecurrence& r, StringEncoding encoding) {
    in.u32le();  // reader version
    const uint32_t writerVersion = in.u32le();
    r.startTimeOffset = in.u32le();
    r.endTimeOffset = in.u32le();
    const uint16_t count = in.u16le();
    if (!in.ok()) return;
    r.hasTimes = true;
    const uint64_t fitting = ByteReader::fitCount(count, in.remaining(), kExceptionInfoMinSize);
    for (uint64_t i = 0; i < fitting; ++i) {
        RecurrenceException e;
        if (!readExceptionInfo(in, e, encoding)) break;
        r.exceptions.push_back(std::move(e));
    }
    // A list that does not hold as many as it says is not to be trusted at all.
    if (r.exceptions.size() != count) {
        r.exceptions.clear();
        return;
    }
    in.skip(in.u32le());  // reserved block
    for (auto& e : r.exceptions) {
        RecurrenceException extended = e;
        if (!readExtendedException(in, extended, writerVersion)) return;
        e = std::move(extended);
    }
}

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

int64_t dayNumber(Date d) {
    const int64_t s = d.time_since_epoch().count();
    return s / 86400 - (s % 86400 < 0 ? 1 : 0);
}

struct Day {
    int64_t number;  // days since 1970-01-01
    int year;
    unsigned month, day, lastDay, weekday;  // weekday 0 = Sunday
};

Day dayOf(int64_t number) {
    const year_month_day ymd{sys_days(days(number))};
    const year_month_day last{ymd.year() / ymd.month() / std::chrono::last};
    return {number,
            static_cast<int>(ymd.year()),
            static_cast<unsigned>(ymd.month()),
            static_cast<unsigned>(ymd.day()),
            static_cast<unsigned>(last.day()),
            static_cast<unsigned>(((number + 4) % 7 + 7) % 7)};
}

// Whether `d` is the n-th (5: the last) of the days of its month whose weekday bit is set.
bool isNthOfMonth(const Day& d, uint32_t weekDays, uint32_t nth) {
    if (!(weekDays & (1u << d.weekday))) return false;
    unsigned before = 0, after = 0;
    for (unsigned x = 1; x <= d.lastDay; ++x) {
        const unsigned weekday = (d.weekday + 35 + x - d.day) % 7;
        if (!(weekDays & (1u << weekday))) continue;
        if (x < d.day) ++before;
        if (x > d.day) ++after;
    }
    return nth >= 5 ? after == 0 : before + 1 == nth;
}

}  // namespace

Date dateFromRecurrenceMinutes(uint32_t minutes) {
    return Date(std::chrono::minutes(static_cast<int64_t>(minutes) - kUnixEpochMinutesSince1601));
}

std::optional<AppointmentRecurrence> readAppointmentRecurrence(const Bytes& blob,
                                                               StringEncoding encoding) {
    ByteCursor in(blob);
    AppointmentRecurrence r;
    in.u16le();  // reader version
    in.u16le();  // writer version
    r.frequency = in.u16le();
    r.patternType = in.u16le();
    r.calendarType = in.u16le();
    r.firstDateTime = in.u32le();
    r.period = in.u32le();
    in.u32le();  // sliding flag
    switch (static_cast<RecurrencePatternType>(r.patternType)) {
        case RecurrencePatternType::Day:
            break;
        case RecurrencePatternType::Week:
            r.weekDays = in.u32le();
            break;
        case RecurrencePatternType::Month:
        case RecurrencePatternType::MonthEnd:
        case RecurrencePatternType::HijriMonth:
        case RecurrencePatternType::HijriMonthEnd:
            r.dayOfMonth = in.u32le();
            break;
        case RecurrencePatternType::MonthNth:
        case RecurrencePatternType::HijriMonthNth:
            r.weekDays = in.u32le();
            r.nth = in.u32le();
            break;
        default:
            return std::nullopt;
    }
    r.endType = in.u32le();
    r.occurrenceCount = in.u32le();
    r.firstDayOfWeek = in.u32le();
    r.deletedInstanceDates = readDates(in);
    r.modifiedInstanceDates = readDates(in);
    r.startDate = in.u32le();
    r.endDate = in.u32le();
    if (!in.ok()) return std::nullopt;
    readAppointmentPart(in, r, encoding);
    return r;
}

std::vector<Date> AppointmentRecurrence::firstOccurrences(size_t count) const {
    std::vector<Date> out;
    const auto type = static_cast<RecurrencePatternType>(patternType);
    if (count == 0 || period == 0) return out;
    if (type != RecurrencePatternType::Day && type != RecurrencePatternType::Week &&
        type != RecurrencePatternType::Month && type != RecurrencePatternType::MonthNth &&
        type != RecurrencePatternType::MonthEnd)
        return out;
    const int64_t first = dayNumber(dateFromRecurrenceMinutes(startDate));
    const int64_t last = dayNumber(dateFromRecurrenceMinutes(endDate));
    const Day start = dayOf(first);
    const int64_t startWeek = first - (start.weekday + 7 - firstDayOfWeek % 7) % 7;
    const bool byDate = endType == static_cast<uint32_t>(RecurrenceEndType::AfterDate);
    const bool byCount = endType == static_cast<uint32_t>(RecurrenceEndType::AfterCount);

    auto isOccurrence = [&](const Day& d) {
        const int64_t months = (d.year - start.year) * 12 + (int64_t(d.month) - start.month);
        switch (type) {
            case RecurrencePatternType::Day:
                return (d.number - first) % (period / 1440 ? period / 1440 : 1) == 0;
            case RecurrencePatternType::Week:
                return (weekDays & (1u << d.weekday)) && ((d.number - startWeek) / 7) % period == 0;
            case RecurrencePatternType::Month:
                return months % period == 0 && d.day == std::min<unsigned>(dayOfMonth, d.lastDay);
            case RecurrencePatternType::MonthNth:
                return months % period == 0 && isNthOfMonth(d, weekDays, nth);
            default:
                return months % period == 0 && d.day == d.lastDay;
        }
    };

    // Changed occurrences are kept by the day they were moved from.
    std::vector<std::pair<int64_t, Date>> changes;
    for (const auto& e : exceptions)
        changes.emplace_back(dayNumber(dateFromRecurrenceMinutes(e.originalStartDate)),
                             dateFromRecurrenceMinutes(e.startDateTime));
    std::sort(changes.begin(), changes.end());
    std::vector<int64_t> deletedDays;
    for (uint32_t m : deletedInstanceDates)
        deletedDays.push_back(dayNumber(dateFromRecurrenceMinutes(m)));
    std::sort(deletedDays.begin(), deletedDays.end());
    auto changeOn = [&](int64_t day) -> const Date* {
        auto it = std::lower_bound(changes.begin(), changes.end(), day,
                                   [](const auto& c, int64_t d) { return c.first < d; });
        return it != changes.end() && it->first == day ? &it->second : nullptr;
    };

    uint64_t seen = 0;
    std::vector<Date> changed;
    for (int64_t n = first; n < first + kWalkLimitDays; ++n) {
        if (byDate && n > last) break;
        if (byCount && seen >= occurrenceCount) break;
        const Day d = dayOf(n);
        if (!isOccurrence(d)) continue;
        ++seen;
        if (const Date* moved = changeOn(n)) {
            changed.push_back(*moved);
        } else if (!std::binary_search(deletedDays.begin(), deletedDays.end(), n)) {
            out.push_back(Date(std::chrono::seconds(n * 86400 + int64_t(startTimeOffset) * 60)));
        }
        if (out.size() >= count) break;
    }
    out.insert(out.end(), changed.begin(), changed.end());
    std::sort(out.begin(), out.end());
    if (out.size() > count) out.resize(count);
    return out;
}

}  // namespace qb
