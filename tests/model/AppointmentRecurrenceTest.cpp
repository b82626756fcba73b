// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "model/AppointmentRecurrence.h"
#include "support/CalendarItems.h"

namespace qb {
namespace {

using test::RecurrenceBlob;
using test::recurrenceMinutes;

Date at(int y, int mo, int d, int h = 0, int mi = 0) {
    return dateFromComponents(y, mo, d, h, mi, 0);
}

std::optional<AppointmentRecurrence> read(const RecurrenceBlob& blob) {
    return readAppointmentRecurrence(Bytes::fromString(blob.bytes()), kUTF8Encoding);
}

std::vector<Date> firstFive(const RecurrenceBlob& blob) {
    auto r = read(blob);
    return r ? r->firstOccurrences(5) : std::vector<Date>{};
}

TEST(AppointmentRecurrence, ChangedOccurrencesKeepTheirUnicodeTexts) {
    RecurrenceBlob blob;
    blob.deleted = {recurrenceMinutes(2024, 1, 8), recurrenceMinutes(2024, 1, 15)};
    blob.modified = {recurrenceMinutes(2024, 1, 16)};
    blob.changes = {{recurrenceMinutes(2024, 1, 16, 14), recurrenceMinutes(2024, 1, 16, 15),
                     recurrenceMinutes(2024, 1, 15, 9), "Réunion", "Salle 3"}};
    auto r = read(blob);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->frequency, 0x200B);
    EXPECT_EQ(r->weekDays, 0x02u);
    EXPECT_EQ(r->deletedInstanceDates.size(), 2u);
    EXPECT_EQ(r->modifiedInstanceDates.size(), 1u);
    ASSERT_TRUE(r->hasTimes);
    EXPECT_EQ(r->startTimeOffset, 540u);
    ASSERT_EQ(r->exceptions.size(), 1u);
    EXPECT_EQ(r->exceptions[0].subject, "Réunion");
    EXPECT_EQ(r->exceptions[0].location, "Salle 3");
    EXPECT_EQ(dateFromRecurrenceMinutes(r->exceptions[0].startDateTime), at(2024, 1, 16, 14));

    // Writers before extended exceptions: the 8-bit texts are what there is.
    blob.writerVersion2 = 0x3008;
    blob.changes[0].subject = "Plain";
    r = read(blob);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->exceptions.at(0).subject, "Plain");

    // The deleted 2024-01-08 is gone, the 15th moved to the 16th at 14:00.
    EXPECT_EQ(r->firstOccurrences(4), (std::vector<Date>{at(2024, 1, 1, 9), at(2024, 1, 16, 14),
                                                         at(2024, 1, 22, 9), at(2024, 1, 29, 9)}));
}

TEST(AppointmentRecurrence, EachPatternKindGivesItsDays) {
    RecurrenceBlob daily;
    daily.frequency = 0x200A;
    daily.patternType = 0;
    daily.period = 3 * 1440;
    EXPECT_EQ(firstFive(daily)[2], at(2024, 1, 7, 9));

    RecurrenceBlob weekdays;  // "every weekday" is a daily item with a week pattern
    weekdays.frequency = 0x200A;
    weekdays.weekDays = 0x3E;
    weekdays.startDate = recurrenceMinutes(2024, 1, 5);
    EXPECT_EQ(firstFive(weekdays),
              (std::vector<Date>{at(2024, 1, 5, 9), at(2024, 1, 8, 9), at(2024, 1, 9, 9),
                                 at(2024, 1, 10, 9), at(2024, 1, 11, 9)}));

    RecurrenceBlob fortnight;  // Monday and Friday every other week
    fortnight.period = 2;
    fortnight.weekDays = 0x22;
    EXPECT_EQ(firstFive(fortnight),
              (std::vector<Date>{at(2024, 1, 1, 9), at(2024, 1, 5, 9), at(2024, 1, 15, 9),
                                 at(2024, 1, 19, 9), at(2024, 1, 29, 9)}));

    RecurrenceBlob monthly;  // the 31st: the last day in shorter months
    monthly.frequency = 0x200C;
    monthly.patternType = 2;
    monthly.dayOfMonth = 31;
    monthly.startDate = recurrenceMinutes(2024, 1, 31);
    EXPECT_EQ(firstFive(monthly),
              (std::vector<Date>{at(2024, 1, 31, 9), at(2024, 2, 29, 9), at(2024, 3, 31, 9),
                                 at(2024, 4, 30, 9), at(2024, 5, 31, 9)}));

    RecurrenceBlob lastFriday;
    lastFriday.frequency = 0x200C;
    lastFriday.patternType = 3;
    lastFriday.weekDays = 0x20;
    lastFriday.nth = 5;
    lastFriday.startDate = recurrenceMinutes(2024, 1, 26);
    EXPECT_EQ(firstFive(lastFriday)[1], at(2024, 2, 23, 9));
    EXPECT_EQ(firstFive(lastFriday)[2], at(2024, 3, 29, 9));

    RecurrenceBlob firstWeekday = lastFriday;  // the first Monday-to-Friday day of each month
    firstWeekday.weekDays = 0x3E;
    firstWeekday.nth = 1;
    firstWeekday.startDate = recurrenceMinutes(2024, 6, 3);
    EXPECT_EQ(firstFive(firstWeekday)[1], at(2024, 7, 1, 9));
    EXPECT_EQ(firstFive(firstWeekday)[2], at(2024, 8, 1, 9));
    EXPECT_EQ(firstFive(firstWeekday)[3], at(2024, 9, 2, 9));

    RecurrenceBlob monthEnd = monthly;
    monthEnd.patternType = 4;
    monthEnd.period = 2;
    EXPECT_EQ(firstFive(monthEnd)[1], at(2024, 3, 31, 9));

    RecurrenceBlob yearly = monthly;  // every 29 February: 28 February in other years
    yearly.frequency = 0x200D;
    yearly.period = 12;
    yearly.dayOfMonth = 29;
    yearly.startDate = recurrenceMinutes(2024, 2, 29);
    EXPECT_EQ(firstFive(yearly),
              (std::vector<Date>{at(2024, 2, 29, 9), at(2025, 2, 28, 9), at(2026, 2, 28, 9),
                                 at(2027, 2, 28, 9), at(2028, 2, 29, 9)}));
}

TEST(AppointmentRecurrence, SeriesEndByCountOrDate) {
    RecurrenceBlob count;
    count.endType = 0x2022;
    count.occurrenceCount = 3;
    count.deleted = {recurrenceMinutes(2024, 1, 8)};
    // Deleted occurrences count toward the end.
    EXPECT_EQ(firstFive(count), (std::vector<Date>{at(2024, 1, 1, 9), at(2024, 1, 15, 9)}));

    RecurrenceBlob until;
    until.endType = 0x2021;
    until.endDate = recurrenceMinutes(2024, 1, 22);
    EXPECT_EQ(firstFive(until).size(), 4u);
}

TEST(AppointmentRecurrence, DamagedBlobsKeepWhatCanBeRead) {
    RecurrenceBlob blob;
    blob.changes = {{recurrenceMinutes(2024, 1, 9, 10), recurrenceMinutes(2024, 1, 9, 11),
                     recurrenceMinutes(2024, 1, 8, 9), "Moved", ""}};
    const std::string good = blob.bytes();
    // Cut inside the pattern: nothing.
    EXPECT_FALSE(readAppointmentRecurrence(Bytes::fromString(good.substr(0, 30)), kUTF8Encoding));
    EXPECT_FALSE(readAppointmentRecurrence(Bytes(), kUTF8Encoding));
    // A deleted count far beyond the data: nothing, and nothing is allocated for it.
    std::string huge = good;
    const size_t deletedCountAt = 22 + 4 + 12;
    huge.replace(deletedCountAt, 4, std::string("\xFF\xFF\xFF\xFF", 4));
    EXPECT_FALSE(readAppointmentRecurrence(Bytes::fromString(huge), kUTF8Encoding));
    // An unknown pattern type: nothing.
    std::string pattern = good;
    pattern[6] = 9;
    EXPECT_FALSE(readAppointmentRecurrence(Bytes::fromString(pattern), kUTF8Encoding));
    // Cut inside the appointment part: the pattern without times.
    const size_t patternSize = deletedCountAt + 4 + 4 + 8;
    auto r = readAppointmentRecurrence(Bytes::fromString(good.substr(0, patternSize + 6)),
                                       kUTF8Encoding);
    ASSERT_TRUE(r);
    EXPECT_FALSE(r->hasTimes);
    // An exception count beyond the data: no exceptions, the times kept.
    std::string many = good;
    many.replace(patternSize + 16, 2, std::string("\xFF\xFF", 2));
    r = readAppointmentRecurrence(Bytes::fromString(many), kUTF8Encoding);
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->hasTimes);
    EXPECT_TRUE(r->exceptions.empty());
    // A zero period or an endless walk through deleted days ends.
    RecurrenceBlob zero;
    zero.period = 0;
    EXPECT_TRUE(firstFive(zero).empty());
    RecurrenceBlob allGone;
    allGone.endType = 0x2022;
    allGone.occurrenceCount = 2;
    allGone.deleted = {recurrenceMinutes(2024, 1, 1), recurrenceMinutes(2024, 1, 8)};
    EXPECT_TRUE(firstFive(allGone).empty());
}

}  // namespace
}  // namespace qb
