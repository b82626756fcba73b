// SPDX-License-Identifier: Apache-2.0
// The calendar file's lines in their order, from the item's named properties.
#include "exporters/ICSExporter.h"

#include <fmt/format.h>

#include <array>

#include "exporters/CalendarLines.h"
#include "exporters/CalendarRecurrence.h"
#include "exporters/PlainTextExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "mime/ContentCoders.h"
#include "mime/MimeConstants.h"
#include "model/MAPIArray.h"
#include "model/NamedProperties.h"
#include "model/PropertyTags.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

namespace {

constexpr NamedProperty kStart{PSETID_Appointment, 0x820D, PT_SYSTIME};
constexpr NamedProperty kEnd{PSETID_Appointment, 0x820E, PT_SYSTIME};
constexpr NamedProperty kAllDay{PSETID_Appointment, 0x8215, PT_BOOLEAN};
constexpr NamedProperty kRecurrence{PSETID_Appointment, 0x8216, PT_BINARY};
constexpr NamedProperty kExceptionReplaceTime{PSETID_Appointment, 0x8228, PT_SYSTIME};
constexpr NamedProperty kSequence{PSETID_Appointment, 0x8201, PT_LONG};
constexpr NamedProperty kLocation{PSETID_Appointment, 0x8208, PT_STRING8};
constexpr NamedProperty kGlobalObjectId{PSETID_Meeting, 0x0003, PT_BINARY};
constexpr NamedProperty kCleanGlobalObjectId{PSETID_Meeting, 0x0023, PT_BINARY};
constexpr NamedProperty kReminderDelta{PSETID_Common, 0x8501, PT_LONG};
constexpr NamedProperty kReminderTime{PSETID_Common, 0x8502, PT_SYSTIME};
constexpr NamedProperty kReminderSet{PSETID_Common, 0x8503, PT_BOOLEAN};
constexpr NamedProperty kPrivate{PSETID_Common, 0x8506, PT_BOOLEAN};
constexpr NamedProperty kCurrentVersionName{PSETID_Common, 0x8554, PT_STRING8};
constexpr NamedProperty kTaskStatus{PSETID_Task, 0x8101, PT_LONG};
constexpr NamedProperty kTaskPercentComplete{PSETID_Task, 0x8102, PT_DOUBLE};
constexpr NamedProperty kTaskStartDate{PSETID_Task, 0x8104, PT_SYSTIME};
constexpr NamedProperty kTaskDueDate{PSETID_Task, 0x8105, PT_SYSTIME};
constexpr NamedProperty kTaskDateCompleted{PSETID_Task, 0x810F, PT_SYSTIME};

constexpr uint32_t kNormalizedSubject = 0x0E1D001E;
constexpr uint32_t kPriority = 0x00260003;
constexpr uint32_t kCreationTime = 0x30070040;
constexpr uint32_t kLastModificationTime = 0x30080040;
constexpr uint32_t kSearchKey = 0x300B0102;
constexpr uint32_t kDateStartAttribute = 0x0006;
constexpr uint32_t kDateEndAttribute = 0x0007;
constexpr uint32_t kDateAttributeType = 3;

enum class Reply { None, Accepted, Declined, Tentative };

struct ClassRule {
    std::string_view suffix;
    const char* method;
    Reply reply;
    bool cancels;
};

constexpr std::array<std::string_view, 5> kMeetingSuffixes{"Request", "Resp.Neg", "Resp.Pos",
                                                           "Resp.Tent", "Cancelled"};
constexpr std::array<std::string_view, 5> kScheduleSuffixes{"MtgReq", "MtgRespN", "MtgRespP",
                                                            "MtgRespA", "MtgCncl"};
constexpr std::array<ClassRule, 10> kClassRules{{
    {"Request", "REQUEST", Reply::None, false},
    {"MtgReq", "REQUEST", Reply::None, false},
    {"Resp.Neg", "REPLY", Reply::Declined, false},
    {"MtgRespN", "REPLY", Reply::Declined, false},
    {"Resp.Pos", "REPLY", Reply::Accepted, false},
    {"MtgRespP", "REPLY", Reply::Accepted, false},
    {"Resp.Tent", "REPLY", Reply::Tentative, false},
    {"MtgRespA", "REPLY", Reply::Tentative, false},
    {"Cancelled", "CANCEL", Reply::None, true},
    {"MtgCncl", "CANCEL", Reply::None, true},
}};

bool startsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

const ClassRule* ruleForClass(std::string_view cls) {
    if (startsWith(cls, "IPM.Task")) return nullptr;
    for (const auto& rule : kClassRules)
        if (endsWith(cls, rule.suffix)) return &rule;
    return nullptr;
}

std::string upperHex(const Bytes& bytes) {
    std::string out;
    out.reserve(bytes.size() * 2);
    for (uint8_t b : bytes.span())
        out += fmt::format("{:02X}", b);
    return out;
}

std::optional<Date> tnefDate(const OutlookMessage& m, uint32_t id) {
    const TNEFAttrValue v = valueForTNEFName(m.attributes(), id, kDateAttributeType);
    if (const auto* d = std::get_if<Date>(&v)) return *d;
    return std::nullopt;
}

// The person's e-mail address: the SMTP address when the reader found one, else the address
// itself when it is one.
std::optional<std::string> mailAddressOf(const Address& a) {
    if (auto smtp = a.smtpAddress(); smtp && isEmailAddress(*smtp)) return smtp;
    if (auto address = a.address(); address && isEmailAddress(*address)) return address;
    return std::nullopt;
}

// One person as "CN=...:MAILTO:...". A person without an e-mail address (an Exchange
// directory entry) still needs a value for the line to be read at all; ":invalid:nomail" is
// what calendar programs write for one.
std::string personParams(const Address& a) {
    const auto email = mailAddressOf(a);
    const std::string name = a.displayName().value_or(email.value_or(""));
    std::string text = fmt::format("CN=\"{}\"", escapeParamValue(name));
    text += email ? ":MAILTO:" + *email : std::string(":invalid:nomail");
    return text;
}

// The day an all-day item starts or ends on when its zone is unknown: its instant is the
// local midnight, so the nearest midnight in UTC names the day for any zone within 12 hours.
Date nearestMidnight(Date utc) {
    return utc + std::chrono::hours(12);
}

Reply replyOfClass(const std::optional<std::string>& cls) {
    const ClassRule* rule = cls ? ruleForClass(*cls) : nullptr;
    return rule ? rule->reply : Reply::None;
}

}  // namespace

bool ICSExporter::canHandleMessageClass(const std::optional<std::string>& messageClass) {
    if (!messageClass) return false;
    const std::string_view cls = *messageClass;
    if (startsWith(cls, "IPM.Appointment") || startsWith(cls, "IPM.Task")) return true;
    auto endsWithAny = [&](const auto& suffixes) {
        for (auto s : suffixes)
            if (endsWith(cls, s)) return true;
        return false;
    };
    if (startsWith(cls, "IPM.Schedule.Meeting")) return endsWithAny(kMeetingSuffixes);
    if (startsWith(cls, "IPM.Microsoft Schedule")) return endsWithAny(kScheduleSuffixes);
    return false;
}

ICSExporter::ICSExporter(const std::shared_ptr<const OutlookMessage>& message)
    : message_(message) {}

std::shared_ptr<ICSExporter> ICSExporter::create(
    std::shared_ptr<const OutlookMessage> message,
    const std::shared_ptr<TNEFMessageExporter>& exporter) {
    if (!message) return nullptr;
    std::shared_ptr<ICSExporter> e(new ICSExporter(message));
    e->exporter_ = exporter;
    e->build(*message);
    return e;
}

std::string ICSExporter::parseTimeZone(const OutlookMessage& m, std::optional<Date> start) {
    timezone_ = CalendarTimeZone::ofMessage(m, start);
    if (!timezone_) return {};
    timezoneName_ = timezone_->name();
    return timezone_->vtimezone();
}

void ICSExporter::build(const OutlookMessage& m) {
    const MAPIPropList* props = m.mapiprops();
    const std::string cls = m.messageClass().value_or("");
    isTask_ = startsWith(cls, "IPM.Task");

    std::optional<Date> start = dateForNamedProperty(props, kStart);
    std::optional<Date> end = dateForNamedProperty(props, kEnd);
    if (!start) start = tnefDate(m, kDateStartAttribute);
    if (!end) end = tnefDate(m, kDateEndAttribute);
    const std::string vtimezone = parseTimeZone(m, start);
    event_["timezoneName"] = timezoneName_;
    if (start) {
        event_["startDate"] = formatRFC3339(*start);
        event_["startDateUTC"] = formatRFC3339(*start);
    }
    if (end) {
        event_["endDate"] = formatRFC3339(*end);
        event_["endDateUTC"] = formatRFC3339(*end);
    }

    if (start) {
        const Date local = timezone_ ? timezone_->localTime(*start) : *start;
        filename_ = fmt::format("iCal-{}.ics", formatCalendarFileStamp(local));
    } else {
        std::string title = stringForProperty(props, PR_CONVERSATION_TOPIC).value_or("");
        if (title.empty()) title = stringForProperty(props, kNormalizedSubject).value_or("");
        if (title.empty()) title = m.subject().value_or("");
        // Never a hidden file.
        if (title.empty()) title = "Untitled";
        filename_ = title + ".ics";
    }

    std::string out;
    appendContentLine(out, "BEGIN:VCALENDAR");
    appendContentLine(out, "VERSION:2.0");
    // Written as it stands, never folded, as the items' own program writes it.
    if (auto version = stringForNamedProperty(props, kCurrentVersionName);
        version && !version->empty())
        out += "PRODID:-//Microsoft Corporation//Outlook " + *version + " MIMEDIR//EN\r\n";
    else
        appendContentLine(out, "PRODID:Quillbox Tnef Converter 1.0");
    appendContentLine(out, "CALSCALE:GREGORIAN");
    if (isTask_) {
        method_ = "PUBLISH";
    } else if (const ClassRule* rule = ruleForClass(cls)) {
        method_ = rule->method;
        cancelled_ = rule->cancels;
    }
    if (method_) appendContentLine(out, "METHOD:" + *method_);
    out += vtimezone;
    appendContentLine(out, isTask_ ? "BEGIN:VTODO" : "BEGIN:VEVENT");

    // Calendars need a UID and a DTSTAMP; items that were never sent lack the meeting's id
    // and sometimes their creation time, so the next best stable values stand in.
    std::optional<Bytes> id = bytesForNamedProperty(props, kGlobalObjectId);
    if (!id || id->empty()) id = bytesForNamedProperty(props, kCleanGlobalObjectId);
    if (!id || id->empty()) id = bytesForProperty(props, kSearchKey);
    if (id && !id->empty()) {
        const std::string uid = upperHex(*id);
        appendContentLine(out, "UID:" + uid);
        event_["eventIdentifier"] = uid;
    }
    if (auto sequence = uint32ForNamedProperty(props, kSequence))
        appendContentLine(out, fmt::format("SEQUENCE:{}", static_cast<int32_t>(*sequence)));
    SeriesContext series;
    if (id && !id->empty()) series.uid = upperHex(*id);
    std::optional<Date> created = dateForProperty(props, kCreationTime);
    if (!created) created = dateForProperty(props, kLastModificationTime);
    if (!created) created = m.date();
    // Still deterministic: the same item always gives the same file.
    if (!created) created = start;
    if (created) {
        series.dtstamp = formatCalendarDateTime(*created, true);
        appendContentLine(out, "DTSTAMP:" + series.dtstamp);
        event_["creationDate"] = formatRFC3339(*created);
    }
    if (auto modified = dateForProperty(props, kLastModificationTime)) {
        appendContentLine(out, "LAST-MODIFIED:" + formatCalendarDateTime(*modified, true));
        event_["lastModifiedDate"] = formatRFC3339(*modified);
    }
    appendTimes(out, m, start, end);
    std::optional<AppointmentRecurrence> recurrence;
    if (!isTask_)
        if (auto blob = bytesForNamedProperty(props, kRecurrence))
            recurrence = readAppointmentRecurrence(*blob, m.encoding());
    if (recurrence) {
        series.zone = timezone_ ? &*timezone_ : nullptr;
        series.allDay = event_["allDay"].get<bool>();
        out += recurrenceRuleLines(*recurrence, series);
    }
    if (isTask_) appendTaskLines(out, m);
    out += parseAttendees();
    appendTexts(out, m);

    if (auto priority = uint32ForProperty(props, kPriority)) {
        const int32_t p = static_cast<int32_t>(*priority);
        if (p == 1 || p == 0 || p == -1)
            appendContentLine(out, fmt::format("PRIORITY:{}", p == 1 ? 1 : p == 0 ? 5 : 9));
    }
    if (auto isPrivate = boolForNamedProperty(props, kPrivate))
        appendContentLine(out, *isPrivate ? "CLASS:PRIVATE" : "CLASS:PUBLIC");
    if (cancelled_) appendContentLine(out, "STATUS:CANCELLED");
    appendAlarm(out, m);
    if (auto messageID = stringForProperty(props, PR_INTERNET_MESSAGE_ID);
        messageID && !messageID->empty()) {
        std::string url = *messageID;
        for (size_t i = 0; i < url.size(); ++i) {
            if (url[i] == '<' || url[i] == '>') {
                url.replace(i, 1, url[i] == '<' ? "%3C" : "%3E");
                i += 2;
            }
        }
        appendContentLine(out, "URL;VALUE=URI:message:" + url);
    }
    appendContentLine(out, isTask_ ? "END:VTODO" : "END:VEVENT");
    if (recurrence) {
        series.changes = changedOccurrences(m);
        series.summary = event_.value("title", "");
        series.location = event_.value("location", "");
        out += recurrenceExceptionEvents(*recurrence, series);
    }
    appendContentLine(out, "END:VCALENDAR");
    data_ = Bytes::adoptString(std::move(out));
}

// The hidden embedded messages of changed occurrences: their subjects and bodies, by the day
// each occurrence was moved from.
std::vector<ChangedOccurrence> ICSExporter::changedOccurrences(const OutlookMessage& m) const {
    std::vector<ChangedOccurrence> out;
    for (const auto& attachment : m.attachments()) {
        auto nested = attachment ? attachment->nestedMessage() : nullptr;
        if (!nested || !isCalendarException(*nested)) continue;
        auto replaced = dateForNamedProperty(nested->mapiprops(), kExceptionReplaceTime);
        if (!replaced) continue;
        const Date local = timezone_ ? timezone_->localTime(*replaced) : *replaced;
        const int64_t seconds = local.time_since_epoch().count();
        ChangedOccurrence c;
        c.originalDay = seconds / 86400 - (seconds % 86400 < 0 ? 1 : 0);
        c.summary = nested->subject();
        c.description = plainTextOfMessage(*nested);
        out.push_back(std::move(c));
    }
    return out;
}

void ICSExporter::appendTimes(std::string& out, const OutlookMessage& m, std::optional<Date> start,
                              std::optional<Date> end) {
    const bool allDay = boolForNamedProperty(m.mapiprops(), kAllDay).value_or(false);
    event_["allDay"] = allDay;
    auto local = [&](Date utc) { return timezone_ ? timezone_->localTime(utc) : utc; };
    auto line = [&](const char* name, Date when) {
        if (allDay)
            return fmt::format("{};VALUE=DATE:{}", name,
                               formatCalendarDate(timezone_ ? local(when) : nearestMidnight(when)));
        if (timezone_)
            return fmt::format("{};TZID=\"{}\":{}", name, timezoneName_,
                               formatCalendarDateTime(local(when), false));
        return fmt::format("{}:{}", name, formatCalendarDateTime(when, true));
    };
    if (start) {
        event_["startDate"] = formatCalendarDateTime(local(*start), !timezone_);
        appendContentLine(out, line("DTSTART", *start));
    }
    if (end && !isTask_) {
        event_["endDate"] = formatCalendarDateTime(local(*end), !timezone_);
        appendContentLine(out, line("DTEND", *end));
    }
}

// What a task adds: its start and due days, its progress and when it was done.
void ICSExporter::appendTaskLines(std::string& out, const OutlookMessage& m) {
    const MAPIPropList* props = m.mapiprops();
    // Task days are stored as midnight of the day, so the day is read off the date as it is.
    if (!event_.contains("startDate"))
        if (auto day = dateForNamedProperty(props, kTaskStartDate))
            appendContentLine(out, "DTSTART;VALUE=DATE:" + formatCalendarDate(*day));
    if (auto due = dateForNamedProperty(props, kTaskDueDate)) {
        appendContentLine(out, "DUE;VALUE=DATE:" + formatCalendarDate(*due));
        event_["dueDate"] = formatRFC3339(*due);
    }
    if (auto status = uint32ForNamedProperty(props, kTaskStatus)) {
        static constexpr const char* kStatus[] = {"NEEDS-ACTION", "IN-PROCESS", "COMPLETED",
                                                  "NEEDS-ACTION", "NEEDS-ACTION"};
        if (*status < 5) appendContentLine(out, fmt::format("STATUS:{}", kStatus[*status]));
    }
    const MAPIData percent = valueForNamedProperty(props, kTaskPercentComplete);
    if (const double* p = valueAs<double>(percent); p && *p >= 0 && *p <= 1)
        appendContentLine(out,
                          fmt::format("PERCENT-COMPLETE:{}", static_cast<int>(*p * 100 + 0.5)));
    if (auto done = dateForNamedProperty(props, kTaskDateCompleted)) {
        appendContentLine(out, "COMPLETED:" + formatCalendarDateTime(*done, true));
        event_["completedDate"] = formatRFC3339(*done);
    }
}

void ICSExporter::appendTexts(std::string& out, const OutlookMessage& m) {
    const MAPIPropList* props = m.mapiprops();
    std::optional<std::string> title = stringForProperty(props, PR_CONVERSATION_TOPIC);
    if (!title || title->empty()) title = stringForProperty(props, kNormalizedSubject);
    if (!title || title->empty()) title = m.subject();
    if (title) {
        appendContentLine(out, "SUMMARY:" + escapeContentValue(*title, LoneCR::LineBreak));
        event_["title"] = *title;
    }
    if (auto notes = plainTextOfMessage(m)) {
        appendContentLine(out, "DESCRIPTION:" + escapeContentValue(*notes, LoneCR::LineBreak));
        event_["notes"] = *notes;
    }
    if (auto location = stringForNamedProperty(props, kLocation); location && !location->empty()) {
        appendContentLine(out, "LOCATION:" + escapeContentValue(*location, LoneCR::LineBreak));
        event_["location"] = *location;
    }
}

void ICSExporter::appendAlarm(std::string& out, const OutlookMessage& m) {
    const MAPIPropList* props = m.mapiprops();
    auto delta = uint32ForNamedProperty(props, kReminderDelta);
    // An item whose reminder is switched off still carries the usual delta.
    if (!delta || boolForNamedProperty(props, kReminderSet) == false) return;
    const int64_t minutes = static_cast<int32_t>(*delta);
    appendContentLine(out, "BEGIN:VALARM");
    appendContentLine(out, fmt::format("TRIGGER:{}PT{}M", minutes > 0 ? "-" : "",
                                       minutes < 0 ? -minutes : minutes));
    appendContentLine(out, "ACTION:DISPLAY");
    appendContentLine(out, "DESCRIPTION:Reminder");
    appendContentLine(out, "END:VALARM");
    event_["alarm.relativeOffset"] = -60 * minutes;
    if (auto when = dateForNamedProperty(props, kReminderTime))
        event_["alarm.absoluteDate"] = formatRFC3339(*when);
}

std::string ICSExporter::parseAttendees() const {
    auto m = message();
    if (!m) return {};
    std::string out;
    const Reply reply = replyOfClass(m->messageClass());
    if (reply != Reply::None) {
        // A reply goes from an attendee to the organizer.
        for (const auto& a : m->toRecipients()) {
            if (!a) continue;
            appendContentLine(out, "ORGANIZER;" + personParams(*a));
            break;
        }
        if (auto sender = m->sender()) {
            const char* kind = reply == Reply::Accepted ? "ATTENDEE;PARTSTAT=ACCEPTED;"
                               : reply == Reply::Declined
                                   ? "ATTENDEE;PARTSTAT=DECLINED;"
                                   : "ATTENDEE;PARTSTAT=TENTATIVE;RSVP=TRUE;";
            appendContentLine(out, kind + personParams(*sender));
        }
        return out;
    }
    if (auto sender = m->sender()) appendContentLine(out, "ORGANIZER;" + personParams(*sender));
    for (const auto& a : m->toRecipients())
        if (a)
            appendContentLine(out, "ATTENDEE;ROLE=REQ-PARTICIPANT;RSVP=TRUE;" + personParams(*a));
    for (const auto& a : m->ccRecipients())
        if (a) appendContentLine(out, "ATTENDEE;ROLE=OPT-PARTICIPANT;" + personParams(*a));
    return out;
}

EDMessagePartPtr ICSExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        part_ =
            EDMultimediaContentCoder(data_.value_or(Bytes()), filename_.value_or("")).messagePart();
        // Mail programs offer to add a calendar part by its method.
        if (auto type = part_->headers().firstHeaderForKey(kMimeHeaderContentType)) {
            std::string params = "; charset=utf-8";
            if (method_) params += "; method=" + *method_;
            const size_t cut = type->find(';');
            type->insert(cut == std::string::npos ? type->size() : cut, params);
            part_->headers().setHeader(*type, kMimeHeaderContentType);
        }
    });
    return part_;
}

Dictionary ICSExporter::metadata() const {
    Dictionary d = Dictionary::object();
    if (filename_) d["filename"] = *filename_;
    d["Content-Type"] = *mimeType();
    if (method_) d["method"] = *method_;
    return d;
}

}  // namespace qb
