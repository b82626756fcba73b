// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/CalendarLines.h"
#include "exporters/ICSExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "model/PropertyTags.h"
#include "support/CalendarItems.h"

namespace qb {
namespace {

using test::CalendarItem;

Date at(int y, int mo, int d, int h = 0, int mi = 0) {
    return dateFromComponents(y, mo, d, h, mi, 0);
}

std::string icsOf(const std::shared_ptr<const OutlookMessage>& m) {
    auto e = ICSExporter::create(m, nullptr);
    return e && e->data() ? std::string(e->data()->view()) : std::string();
}

bool has(const std::string& text, const std::string& line) {
    return text.find("\r\n" + line + "\r\n") != std::string::npos;
}

// The file's lines with folding undone.
std::string unfolded(std::string text) {
    for (size_t pos; (pos = text.find("\r\n ")) != std::string::npos;)
        text.erase(pos, 3);
    return text;
}

CalendarItem meetingInBerlin() {
    CalendarItem item;
    item.times(at(2024, 7, 1, 7, 30), at(2024, 7, 1, 8, 15))
        .binary(PSETID_Appointment, 0x825E,
                test::tzDefinitionBytes("W. Europe Standard Time", {test::westEuropeRule()}))
        .text(PSETID_Appointment, 0x8208, "Room 1; floor 2")
        .binary(PSETID_Meeting, 0x0003, std::string("\x04\x00\xab\xff", 4))
        .number(PSETID_Appointment, 0x8201, 3);
    item.props().string8(0x0070, "Plan, review");
    item.props().systime(0x3007, 0x01D9C5F5C0A00000ULL);
    return item;
}

TEST(ICSExporter, CalendarClassesAreRecognisedByPrefixAndEnding) {
    for (const char* yes :
         {"IPM.Appointment", "IPM.Appointment.Custom", "IPM.Task", "IPM.Schedule.Meeting.Request",
          "IPM.Schedule.Meeting.Resp.Tent", "IPM.Schedule.Meeting.Canceled.Cancelled",
          "IPM.Microsoft Schedule.MtgRespA", "IPM.Microsoft Schedule.MtgCncl"})
        EXPECT_TRUE(ICSExporter::canHandleMessageClass(std::string(yes))) << yes;
    for (const char* no : {"IPM.Note", "IPM.Schedule.Meeting.Notification",
                           "IPM.Microsoft Schedule.MtgReqX", "ipm.appointment", "IPM.Contact"})
        EXPECT_FALSE(ICSExporter::canHandleMessageClass(std::string(no))) << no;
    EXPECT_FALSE(ICSExporter::canHandleMessageClass(std::nullopt));
}

TEST(ICSExporter, ZonedMeetingsWriteLocalTimesAndTheirZone) {
    auto m = meetingInBerlin().message("IPM.Schedule.Meeting.Request");
    m->sender_ = test::address("Ann Organizer", "ann@example.com");
    m->to = {test::address("Bob", "bob@example.com"),
             test::address("Directory Person", "/o=X/cn=Y", "EX")};
    m->cc = {test::address("Cy", "cy@example.com")};
    auto e = ICSExporter::create(m, nullptr);
    ASSERT_TRUE(e);
    const std::string ics(e->data()->view());
    EXPECT_EQ(ics.substr(0, 15), "BEGIN:VCALENDAR");
    EXPECT_TRUE(has(ics, "PRODID:Quillbox Tnef Converter 1.0"));
    EXPECT_TRUE(has(ics, "METHOD:REQUEST"));
    EXPECT_EQ(e->timezoneName(), "Europe/Berlin");
    EXPECT_EQ(*e->filename(), "iCal-20240701-093000.ics");
    const std::string zone =
        "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"
        "BEGIN:DAYLIGHT\r\nTZOFFSETTO:+0200\r\nTZOFFSETFROM:+0100\r\n"
        "TZNAME:Europe/Berlin(DST)\r\nDTSTART:20230326T020000\r\n"
        "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\nEND:DAYLIGHT\r\n"
        "BEGIN:STANDARD\r\nTZOFFSETTO:+0100\r\nTZOFFSETFROM:+0200\r\n"
        "TZNAME:Europe/Berlin(STD)\r\nDTSTART:20231029T030000\r\n"
        "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\nEND:STANDARD\r\n"
        "X-TIMEZONE-DESCRIPTION:W. Europe Standard Time\r\nEND:VTIMEZONE\r\nBEGIN:VEVENT\r\n";
    EXPECT_NE(ics.find(zone), std::string::npos) << ics;
    EXPECT_TRUE(has(ics, "UID:0400ABFF"));
    EXPECT_TRUE(has(ics, "SEQUENCE:3"));
    EXPECT_TRUE(has(ics, "DTSTART;TZID=\"Europe/Berlin\":20240701T093000"));
    EXPECT_TRUE(has(ics, "DTEND;TZID=\"Europe/Berlin\":20240701T101500"));
    EXPECT_TRUE(has(ics, "SUMMARY:Plan\\, review"));
    EXPECT_TRUE(has(ics, "LOCATION:Room 1\\; floor 2"));
    const std::string people = unfolded(ics);
    EXPECT_TRUE(has(people, "ORGANIZER;CN=\"Ann Organizer\":MAILTO:ann@example.com"));
    EXPECT_TRUE(
        has(people, "ATTENDEE;ROLE=REQ-PARTICIPANT;RSVP=TRUE;CN=\"Bob\":MAILTO:bob@example.com"));
    EXPECT_TRUE(has(
        people, "ATTENDEE;ROLE=REQ-PARTICIPANT;RSVP=TRUE;CN=\"Directory Person\":invalid:nomail"));
    EXPECT_TRUE(has(people, "ATTENDEE;ROLE=OPT-PARTICIPANT;CN=\"Cy\":MAILTO:cy@example.com"));
    EXPECT_EQ(ics.substr(ics.size() - 27), "END:VEVENT\r\nEND:VCALENDAR\r\n");

    const Dictionary& event = e->eventDictionary();
    EXPECT_EQ(event["startDateUTC"], "2024-07-01T07:30:00Z");
    EXPECT_EQ(event["startDate"], "20240701T093000");
    EXPECT_EQ(event["eventIdentifier"], "0400ABFF");
    EXPECT_EQ(event["location"], "Room 1; floor 2");
    EXPECT_EQ(event["title"], "Plan, review");
    EXPECT_EQ(event["timezoneName"], "Europe/Berlin");

    const auto type = e->messagePart()->headers().firstHeaderForKey("Content-Type");
    ASSERT_TRUE(type);
    EXPECT_EQ(type->substr(0, 46), "text/calendar; charset=utf-8; method=REQUEST; ");
    EXPECT_EQ(e->metadata()["filename"], "iCal-20240701-093000.ics");
}

TEST(ICSExporter, SouthernZonesStartTheirYearInDaylightTime) {
    CalendarItem item;
    // 2024-01-15 10:00 in Sydney (daylight time, +11:00).
    item.times(at(2024, 1, 14, 23), at(2024, 1, 15, 0))
        .binary(PSETID_Appointment, 0x825E,
                test::tzDefinitionBytes("AUS Eastern Standard Time", {test::sydneyRule()}));
    auto e = ICSExporter::create(item.message("IPM.Appointment"), nullptr);
    ASSERT_TRUE(e);
    const std::string ics(e->data()->view());
    EXPECT_EQ(e->timezoneName(), "Australia/Sydney");
    EXPECT_TRUE(has(ics, "DTSTART;TZID=\"Australia/Sydney\":20240115T100000"));
    EXPECT_NE(ics.find("BEGIN:DAYLIGHT\r\nTZOFFSETTO:+1100\r\nTZOFFSETFROM:+1000\r\n"
                       "TZNAME:Australia/Sydney(DST)\r\nDTSTART:20231001T020000\r\n"
                       "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=1SU\r\n"),
              std::string::npos)
        << ics;
    EXPECT_NE(ics.find("DTSTART:20230402T030000\r\nRRULE:FREQ=YEARLY;BYMONTH=4;BYDAY=1SU\r\n"),
              std::string::npos);
}

TEST(ICSExporter, RepliesAndCancellationsSayWhatTheyAre) {
    auto reply = meetingInBerlin().message("IPM.Schedule.Meeting.Resp.Tent");
    reply->sender_ = test::address("Bob", "bob@example.com");
    reply->to = {test::address("Ann Organizer", "ann@example.com")};
    const std::string tentative = unfolded(icsOf(reply));
    EXPECT_TRUE(has(tentative, "METHOD:REPLY"));
    EXPECT_TRUE(has(tentative, "ORGANIZER;CN=\"Ann Organizer\":MAILTO:ann@example.com"));
    EXPECT_TRUE(
        has(tentative, "ATTENDEE;PARTSTAT=TENTATIVE;RSVP=TRUE;CN=\"Bob\":MAILTO:bob@example.com"));
    EXPECT_FALSE(has(tentative, "STATUS:CANCELLED"));

    reply->messageClass_ = "IPM.Microsoft Schedule.MtgRespN";
    EXPECT_NE(unfolded(icsOf(reply)).find("\r\nATTENDEE;PARTSTAT=DECLINED;CN=\"Bob\""),
              std::string::npos);

    auto cancel = meetingInBerlin().message("IPM.Schedule.Meeting.Canceled");
    EXPECT_EQ(icsOf(cancel).find("METHOD:"), std::string::npos);
    cancel->messageClass_ = "IPM.Schedule.Meeting.Cancelled";
    const std::string cancelled = icsOf(cancel);
    EXPECT_TRUE(has(cancelled, "METHOD:CANCEL"));
    EXPECT_TRUE(has(cancelled, "STATUS:CANCELLED"));
}

TEST(ICSExporter, AllDayItemsAreDatesOfTheirZonesDays) {
    CalendarItem item;
    // 2024-03-31 00:00 in Berlin (still standard time) to 2024-04-01 00:00 (daylight time).
    item.times(at(2024, 3, 30, 23), at(2024, 3, 31, 22))
        .flag(PSETID_Appointment, 0x8215, true)
        .binary(PSETID_Appointment, 0x8233, test::tzRegBytes(test::westEuropeRule()))
        .text(PSETID_Appointment, 0x8234, "(UTC+01:00) Amsterdam, Berlin");
    const std::string ics = icsOf(item.message("IPM.Appointment"));
    EXPECT_TRUE(has(ics, "DTSTART;VALUE=DATE:20240331"));
    EXPECT_TRUE(has(ics, "DTEND;VALUE=DATE:20240401"));
    // A registry structure has no zone name: its description stands in.
    EXPECT_TRUE(has(ics, "TZID:(UTC+01:00) Amsterdam\\, Berlin") ||
                has(ics, "TZID:(UTC+01:00) Amsterdam, Berlin"));

    // Without any zone the day is still the local day of an item east or west of UTC.
    CalendarItem east, west;
    east.times(at(2003, 6, 8, 22), at(2003, 6, 9, 22)).flag(PSETID_Appointment, 0x8215, true);
    west.times(at(2003, 6, 9, 7), at(2003, 6, 10, 7)).flag(PSETID_Appointment, 0x8215, true);
    for (const auto& day : {east, west}) {
        const std::string text = icsOf(day.message("IPM.Appointment"));
        EXPECT_TRUE(has(text, "DTSTART;VALUE=DATE:20030609")) << text;
        EXPECT_TRUE(has(text, "DTEND;VALUE=DATE:20030610"));
    }
}

TEST(ICSExporter, ItemsWithoutZoneOrTimesStillGiveAFile) {
    CalendarItem item;
    item.times(at(2024, 2, 1, 14), at(2024, 2, 1, 15));
    item.props().string8(0x1035, "<abc@example.com>");
    item.props().u32(0x0026, static_cast<uint32_t>(-1));
    item.flag(PSETID_Common, 0x8506, true).number(PSETID_Common, 0x8501, 15);
    const std::string ics = icsOf(item.message("IPM.Appointment"));
    EXPECT_TRUE(has(ics, "DTSTART:20240201T140000Z"));
    EXPECT_EQ(ics.find("BEGIN:VTIMEZONE"), std::string::npos);
    EXPECT_TRUE(has(ics, "URL;VALUE=URI:message:%3Cabc@example.com%3E"));
    EXPECT_TRUE(has(ics, "PRIORITY:9"));
    EXPECT_TRUE(has(ics, "CLASS:PRIVATE"));
    EXPECT_NE(ics.find("\r\nBEGIN:VALARM\r\nTRIGGER:-PT15M\r\nACTION:DISPLAY\r\n"
                       "DESCRIPTION:Reminder\r\nEND:VALARM\r\n"),
              std::string::npos);

    // A switched-off reminder writes no alarm.
    item.flag(PSETID_Common, 0x8503, false);
    EXPECT_EQ(icsOf(item.message("IPM.Appointment")).find("VALARM"), std::string::npos);

    CalendarItem bare;
    bare.props().string8(0x0E1D, "Topic");
    auto e = ICSExporter::create(bare.message("IPM.Appointment"), nullptr);
    ASSERT_TRUE(e);
    EXPECT_EQ(*e->filename(), "Topic.ics");
    EXPECT_EQ(e->timezoneName(), "UTC");
    EXPECT_EQ(std::string(e->data()->view()).find("DTSTART"), std::string::npos);
    EXPECT_FALSE(ICSExporter::create(nullptr, nullptr));
}

TEST(ICSExporter, TasksAreToDosWithTheirProgress) {
    CalendarItem item;
    item.time(PSETID_Task, 0x8105, at(2024, 5, 10))
        .number(PSETID_Task, 0x8101, 1)
        .named(PSETID_Task, 0x8102, PT_DOUBLE, test::ByteWriter().u64(0x3FE0000000000000ULL).str())
        .time(PSETID_Task, 0x810F, at(2024, 5, 9, 16));
    const std::string ics = icsOf(item.message("IPM.Task"));
    EXPECT_TRUE(has(ics, "METHOD:PUBLISH"));
    EXPECT_TRUE(has(ics, "BEGIN:VTODO"));
    EXPECT_TRUE(has(ics, "END:VTODO"));
    EXPECT_EQ(ics.find("VEVENT"), std::string::npos);
    EXPECT_TRUE(has(ics, "DUE;VALUE=DATE:20240510"));
    EXPECT_TRUE(has(ics, "STATUS:IN-PROCESS"));
    EXPECT_TRUE(has(ics, "PERCENT-COMPLETE:50"));
    EXPECT_TRUE(has(ics, "COMPLETED:20240509T160000Z"));
}

TEST(ICSExporter, LongTextIsFoldedWithoutCuttingCharacters) {
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += "Grüße, ünd 日本語 ";
    CalendarItem item;
    item.props().string8(0x0070, "x");
    item.props().unicode(0x1000, text);
    const std::string ics = icsOf(item.message("IPM.Appointment"));
    size_t start = 0;
    for (size_t end; (end = ics.find("\r\n", start)) != std::string::npos; start = end + 2) {
        const std::string line = ics.substr(start, end - start);
        EXPECT_LE(line.size(), 75u);
        if (line.size() > 1 && line[0] == ' ') {
            EXPECT_NE(static_cast<unsigned char>(line[1]) & 0xC0, 0x80) << line;
        }
    }
    EXPECT_NE(unfolded(ics).find("\r\nDESCRIPTION:" + escapeContentValue(text, LoneCR::LineBreak) +
                                 "\r\n"),
              std::string::npos);
}

TEST(ICSExporter, ValuesAreEscapedInTheirOrder) {
    EXPECT_EQ(escapeContentValue("a\\b\r\nc\nd;e,f\rg", LoneCR::LineBreak),
              "a\\\\b\\nc\\nd\\;e\\,f\\ng");
    CalendarTimeZone odd("Odd \"zone\"\r\n", "", test::westEuropeRule(), 2024);
    EXPECT_EQ(odd.name(), "Odd _zone___");
    EXPECT_EQ(escapeParamValue("say \"hi\"\r"), "say \\\"hi\\\"\\r");
    std::string out;
    appendContentLine(out, std::string(75, 'a'));
    EXPECT_EQ(out, std::string(75, 'a') + "\r\n");
    out.clear();
    appendContentLine(out, std::string(76, 'a'));
    EXPECT_EQ(out, std::string(75, 'a') + "\r\n a\r\n");
}

TEST(ICSExporter, MessageExportersCarryTheCalendarFile) {
    auto m = meetingInBerlin().message("IPM.Appointment");
    auto files = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    ASSERT_EQ(files->attachmentExporters().size(), 1u);
    EXPECT_EQ(*files->attachmentExporters()[0]->filename(), "iCal-20240701-093000.ics");
    EXPECT_FALSE(files->isMessage());

    // A note carrying an appointment and a hidden changed occurrence: the appointment is a
    // calendar file inside the .eml, the occurrence no file at all.
    auto note = test::FakeMessage::make();
    note->messageClass_ = "IPM.Note";
    note->subject_ = "Invitation";
    note->addAttachment("Meeting", std::nullopt, meetingInBerlin().message("IPM.Appointment"));
    auto exception = test::FakeMessage::make();
    exception->messageClass_ = "IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}";
    note->addAttachment("Changed", std::nullopt, exception);
    auto eml = TNEFMessageExporter::create(note, nullptr, ExportMode::RFC822);
    ASSERT_EQ(eml->attachmentExporters().size(), 1u);
    EXPECT_EQ(eml->attachmentExporters()[0]->mimeType(), "text/calendar");
    const std::string bytes(eml->data()->view());
    EXPECT_NE(bytes.find("Content-Type: text/calendar; charset=utf-8;"), std::string::npos);
    EXPECT_EQ(bytes.find("message/rfc822"), std::string::npos);
}

}  // namespace
}  // namespace qb
