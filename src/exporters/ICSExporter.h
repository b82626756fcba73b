// SPDX-License-Identifier: Apache-2.0
// A meeting, appointment or task as one iCalendar file, offered like every other export.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "exporters/CalendarRecurrence.h"
#include "exporters/CalendarTimeZone.h"
#include "exporters/QBExporter.h"
#include "model/OutlookMessage.h"

namespace qb {

class TNEFMessageExporter;

class ICSExporter : public QBExporter {
  public:
    // Whether items of this class are calendar items: appointments, tasks, meeting requests,
    // responses and cancellations.
    static bool canHandleMessageClass(const std::optional<std::string>& messageClass);
    // Builds the whole calendar file at once; nothing without a message.
    static std::shared_ptr<ICSExporter> create(
        std::shared_ptr<const OutlookMessage> message,
        const std::shared_ptr<TNEFMessageExporter>& exporter);

    std::shared_ptr<const OutlookMessage> message() const { return message_.lock(); }
    std::shared_ptr<TNEFMessageExporter> messageExporter() const { return exporter_.lock(); }
    const Dictionary& eventDictionary() const { return event_; }
    // "UTC" when the item names no zone.
    const std::string& timezoneName() const { return timezoneName_; }
    const std::optional<CalendarTimeZone>& timezone() const { return timezone_; }
    // The ORGANIZER and ATTENDEE lines; empty once the message is gone.
    std::string parseAttendees() const;

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    std::optional<Bytes> data() const override { return data_; }
    // text/calendar, with the METHOD as a parameter when the file has one.
    EDMessagePartPtr messagePart() const override;
    std::optional<std::string> mimeType() const override { return "text/calendar"; }
    Dictionary metadata() const override;

  private:
    explicit ICSExporter(const std::shared_ptr<const OutlookMessage>& message);
    void build(const OutlookMessage& m);
    // The VTIMEZONE block, when the item has a zone; sets the zone and its name.
    std::string parseTimeZone(const OutlookMessage& m, std::optional<Date> start);
    void appendTimes(std::string& out, const OutlookMessage& m, std::optional<Date> start,
                     std::optional<Date> end);
    void appendTaskLines(std::string& out, const OutlookMessage& m);
    void appendTexts(std::string& out, const OutlookMessage& m);
    void appendAlarm(std::string& out, const OutlookMessage& m);
    std::vector<ChangedOccurrence> changedOccurrences(const OutlookMessage& m) const;

    std::weak_ptr<const OutlookMessage> message_;
    std::weak_ptr<TNEFMessageExporter> exporter_;
    std::optional<std::string> filename_;
    std::string timezoneName_ = "UTC";
    std::optional<CalendarTimeZone> timezone_;
    std::optional<std::string> method_;
    bool cancelled_ = false;
    bool isTask_ = false;
    std::optional<Bytes> data_;
    Dictionary event_ = Dictionary::object();
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
};

}  // namespace qb
