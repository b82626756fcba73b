// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "exporters/CalendarRecurrence.h"
#include "exporters/ICSExporter.h"
#include "support/CalendarItems.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

using test::CalendarItem;
using test::RecurrenceBlob;
using test::recurrenceMinutes;

std::string ruleOf(const RecurrenceBlob& blob, const CalendarTimeZone* zone = nullptr) {
    auto r = readAppointmentRecurrence(Bytes::fromString(blob.bytes()), kUTF8Encoding);
    if (!r) return "unreadable";
    SeriesContext series;
    series.zone = zone;
    std::string lines = recurrenceRuleLines(*r, series);
    const size_t end = lines.find("\r\n");
    return end == std::string::npos ? lines : lines.substr(0, end);
}

// A weekly series in Berlin with its first occurrence at the blob's start date and times.
// `stored` replaces the blob's bytes in the item.
CalendarItem seriesInBerlin(const RecurrenceBlob& blob,
                            std::optional<std::string> stored = std::nullopt) {
    const Date first = dateFromRecurrenceMinutes(blob.startDate);
    const auto rule = test::westEuropeRule();
    const Date start = first + std::chrono::minutes(blob.startTimeOffset);
    const Date end = first + std::chrono::minutes(blob.endTimeOffset);
    CalendarItem item;
    item.times(start - std::chrono::minutes(rule.offsetAtLocal(start)),
               end - std::chrono::minutes(rule.offsetAtLocal(end)))
        .binary(PSETID_Appointment, 0x825E,
                test::tzDefinitionBytes("W. Europe Standard Time", {rule}))
        .binary(PSETID_Appointment, 0x8216, stored.value_or(blob.bytes()))
        .binary(PSETID_Meeting, 0x0003, "\x01\x02")
        .text(PSETID_Appointment, 0x8208, "Room");
    item.props().string8(0x0070, "Series");
    return item;
}

TEST(CalendarRecurrence, PatternsBecomeRules) {
    RecurrenceBlob weekly;
    weekly.period = 2;
    weekly.weekDays = 0x2A;
    weekly.firstDayOfWeek = 0;
    EXPECT_EQ(ruleOf(weekly), "RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE,FR;WKST=SU");
    weekly.firstDayOfWeek = 1;
    EXPECT_EQ(ruleOf(weekly), "RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE,FR");

    RecurrenceBlob daily;
    daily.frequency = 0x200A;
    daily.patternType = 0;
    daily.period = 2 * 1440;
    daily.endType = 0x2022;
    daily.occurrenceCount = 7;
    EXPECT_EQ(ruleOf(daily), "RRULE:FREQ=DAILY;INTERVAL=2;COUNT=7;WKST=SU");

    RecurrenceBlob monthly;
    monthly.frequency = 0x200C;
    monthly.patternType = 2;
    monthly.firstDayOfWeek = 1;
    monthly.dayOfMonth = 15;
    EXPECT_EQ(ruleOf(monthly), "RRULE:FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=15");
    monthly.dayOfMonth = 30;
    EXPECT_EQ(ruleOf(monthly), "RRULE:FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=28,29,30;BYSETPOS=-1");
    monthly.dayOfMonth = 31;
    EXPECT_EQ(ruleOf(monthly), "RRULE:FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=-1");
    monthly.patternType = 4;
    monthly.period = 3;
    EXPECT_EQ(ruleOf(monthly), "RRULE:FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=-1");

    RecurrenceBlob nth = monthly;
    nth.patternType = 3;
    nth.period = 1;
    nth.weekDays = 0x04;
    nth.nth = 2;
    EXPECT_EQ(ruleOf(nth), "RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=TU;BYSETPOS=2");
    nth.nth = 5;
    EXPECT_EQ(ruleOf(nth), "RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=TU;BYSETPOS=-1");

    RecurrenceBlob yearly = nth;  // the last Tuesday of March, every year
    yearly.frequency = 0x200D;
    yearly.period = 12;
    yearly.startDate = recurrenceMinutes(2024, 3, 26);
    EXPECT_EQ(ruleOf(yearly), "RRULE:FREQ=YEARLY;INTERVAL=1;BYMONTH=3;BYDAY=TU;BYSETPOS=-1");

    RecurrenceBlob hijri = monthly;
    hijri.patternType = 0x0A;
    EXPECT_EQ(ruleOf(hijri), "");
}

TEST(CalendarRecurrence, EndDatesAreInstantsInUTC) {
    RecurrenceBlob until;
    until.firstDayOfWeek = 1;
    until.endType = 0x2021;
    until.endDate = recurrenceMinutes(2024, 7, 29);
    CalendarTimeZone berlin("Europe/Berlin", "", test::westEuropeRule(), 2024);
    // The last occurrence starts 2024-07-29 09:00 in Berlin, 07:00 UTC.
    EXPECT_EQ(ruleOf(until, &berlin),
              "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=MO;UNTIL=20240729T070000Z");
    EXPECT_EQ(ruleOf(until), "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=MO;UNTIL=20240729T090000Z");
}

TEST(CalendarRecurrence, DeletedAndChangedOccurrencesAreWrittenApart) {
    RecurrenceBlob blob;
    blob.deleted = {recurrenceMinutes(2024, 1, 8), recurrenceMinutes(2024, 1, 15)};
    blob.modified = {recurrenceMinutes(2024, 1, 16)};
    blob.changes = {{recurrenceMinutes(2024, 1, 16, 14), recurrenceMinutes(2024, 1, 16, 15),
                     recurrenceMinutes(2024, 1, 15, 9), "Moved; once", ""}};
    auto e = ICSExporter::create(seriesInBerlin(blob).message("IPM.Appointment"), nullptr);
    ASSERT_TRUE(e);
    const std::string ics(e->data()->view());
    EXPECT_NE(ics.find("DTSTART;TZID=\"Europe/Berlin\":20240101T090000\r\n"
                       "DTEND;TZID=\"Europe/Berlin\":20240101T100000\r\n"
                       "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=MO;WKST=SU\r\n"
                       "EXDATE;TZID=\"Europe/Berlin\":20240108T090000\r\n"),
              std::string::npos)
        << ics;
    EXPECT_EQ(ics.find("EXDATE;TZID=\"Europe/Berlin\":20240115"), std::string::npos);
    EXPECT_NE(ics.find("END:VEVENT\r\nBEGIN:VEVENT\r\nUID:0102\r\n"), std::string::npos);
    EXPECT_NE(ics.find("RECURRENCE-ID;TZID=\"Europe/Berlin\":20240115T090000\r\n"
                       "DTSTART;TZID=\"Europe/Berlin\":20240116T140000\r\n"
                       "DTEND;TZID=\"Europe/Berlin\":20240116T150000\r\n"
                       "SUMMARY:Moved\\; once\r\nLOCATION:Room\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"),
              std::string::npos)
        << ics;

    // A blob that cannot be read leaves the series lines out and nothing else.
    CalendarItem broken = seriesInBerlin(blob, blob.bytes().substr(0, 20));
    auto plain = ICSExporter::create(broken.message("IPM.Appointment"), nullptr);
    ASSERT_TRUE(plain);
    EXPECT_EQ(std::string(plain->data()->view()).find("RRULE:FREQ=WEEKLY"), std::string::npos);
    EXPECT_EQ(std::string(plain->data()->view()).find("RECURRENCE-ID"), std::string::npos);
}

TEST(CalendarRecurrence, ChangedOccurrencesTakeTheirBodiesFromTheirMessages) {
    RecurrenceBlob blob;
    blob.deleted = {recurrenceMinutes(2024, 1, 15)};
    blob.modified = {recurrenceMinutes(2024, 1, 15)};
    blob.changes = {{recurrenceMinutes(2024, 1, 15, 11), recurrenceMinutes(2024, 1, 15, 12),
                     recurrenceMinutes(2024, 1, 15, 9), "", ""}};
    auto series = seriesInBerlin(blob).message("IPM.Appointment");
    CalendarItem changed;
    // Replaces the occurrence of 2024-01-15 09:00 in Berlin, 08:00 UTC.
    changed.time(PSETID_Appointment, 0x8228, dateFromComponents(2024, 1, 15, 8, 0, 0));
    auto exception = changed.message("IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}");
    exception->subject_ = "Series, later";
    exception->mimeBody = "Bring the slides.";
    series->addAttachment(std::nullopt, std::nullopt, exception);
    auto e = ICSExporter::create(series, nullptr);
    ASSERT_TRUE(e);
    const std::string ics(e->data()->view());
    EXPECT_NE(ics.find("DTSTART;TZID=\"Europe/Berlin\":20240115T110000\r\n"
                       "DTEND;TZID=\"Europe/Berlin\":20240115T120000\r\n"
                       "SUMMARY:Series\\, later\r\nDESCRIPTION:Bring the slides.\r\n"),
              std::string::npos)
        << ics;
}

// Python's icalendar and dateutil expand what we write; the first occurrences must be the
// ones the stored pattern gives, for every kind of pattern and end.
TEST(CalendarRecurrence, ExpandedRulesGiveThePatternsOccurrences) {
    if (std::system("/usr/bin/python3 -c 'import icalendar, dateutil' >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "no python3-icalendar";
    std::vector<RecurrenceBlob> blobs(9);
    blobs[0].period = 2;  // Monday, Wednesday, Friday every other week, weeks from Sunday
    blobs[0].weekDays = 0x2A;
    blobs[0].deleted = {recurrenceMinutes(2024, 1, 3)};
    blobs[0].changes = {{recurrenceMinutes(2024, 1, 6, 11), recurrenceMinutes(2024, 1, 6, 12),
                         recurrenceMinutes(2024, 1, 5, 9), "Saturday", ""}};
    blobs[0].deleted.push_back(recurrenceMinutes(2024, 1, 5));
    blobs[1].frequency = 0x200A;  // every third day, five times
    blobs[1].patternType = 0;
    blobs[1].period = 3 * 1440;
    blobs[1].endType = 0x2022;
    blobs[1].occurrenceCount = 5;
    blobs[2].frequency = 0x200C;  // the 31st, across daylight time
    blobs[2].patternType = 2;
    blobs[2].dayOfMonth = 31;
    blobs[2].startDate = recurrenceMinutes(2024, 1, 31);
    blobs[3] = blobs[2];  // month ends every other month, until June
    blobs[3].patternType = 4;
    blobs[3].period = 2;
    blobs[3].endType = 0x2021;
    blobs[3].endDate = recurrenceMinutes(2024, 5, 31);
    blobs[4].frequency = 0x200C;  // the first weekday of the month
    blobs[4].patternType = 3;
    blobs[4].weekDays = 0x3E;
    blobs[4].nth = 1;
    blobs[4].startDate = recurrenceMinutes(2024, 6, 3);
    blobs[5] = blobs[4];  // the last Sunday of October every year
    blobs[5].frequency = 0x200D;
    blobs[5].period = 12;
    blobs[5].weekDays = 0x01;
    blobs[5].nth = 5;
    blobs[5].startDate = recurrenceMinutes(2024, 10, 27);
    blobs[6].frequency = 0x200D;  // 29 February
    blobs[6].patternType = 2;
    blobs[6].period = 12;
    blobs[6].dayOfMonth = 29;
    blobs[6].startDate = recurrenceMinutes(2024, 2, 29);
    blobs[7].frequency = 0x200A;  // every weekday, at 01:30 in the night
    blobs[7].weekDays = 0x3E;
    blobs[7].startDate = recurrenceMinutes(2024, 3, 29);
    blobs[7].startTimeOffset = 90;
    blobs[7].endTimeOffset = 120;
    blobs[8] = blobs[0];  // weeks from Monday, until a date
    blobs[8].firstDayOfWeek = 1;
    blobs[8].endType = 0x2021;
    blobs[8].endDate = recurrenceMinutes(2024, 1, 19);

    const auto dir = test::makeTestFolder("calendar-recurrence");
    for (size_t i = 0; i < blobs.size(); ++i) {
        auto m = seriesInBerlin(blobs[i]).message("IPM.Appointment");
        auto e = ICSExporter::create(m, nullptr);
        ASSERT_TRUE(e);
        auto r = readAppointmentRecurrence(Bytes::fromString(blobs[i].bytes()), kUTF8Encoding);
        ASSERT_TRUE(r);
        Dictionary expect = Dictionary::object();
        expect["occurrences"] = Dictionary::array();
        for (Date d : r->firstOccurrences(5)) {
            std::string text = formatRFC3339(d);
            text.pop_back();
            expect["occurrences"].push_back(text);
        }
        ASSERT_FALSE(expect["occurrences"].empty()) << i;
        const std::string name = "series" + std::to_string(i);
        std::ofstream(dir / (name + ".ics"), std::ios::binary) << e->data()->view();
        std::ofstream(dir / (name + ".json")) << expect.dump();
    }
    const std::string cmd = "/usr/bin/python3 " + std::string(QB_SOURCE_DIR) +
                            "/tests/corpus/check_ics.py " + dir.string() + " 2>&1";
    std::string output;
    int status = -1;
    if (FILE* p = ::popen(cmd.c_str(), "r")) {
        char buf[4096];
        for (size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;)
            output.append(buf, n);
        status = ::pclose(p);
    }
    EXPECT_EQ(status, 0) << output;
    EXPECT_NE(output.find("9 passed, 0 failed"), std::string::npos) << output;
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace qb
