// SPDX-License-Identifier: Apache-2.0
// The message exporter: the root of the exporter tree that extract, eml and the library's
// front door build for one message (bodies, attachments, nested messages, metadata, MIME).
#pragma once

#include <memory>
#include <mutex>

#include "exporters/QBExporter.h"
#include "model/OutlookMessage.h"
#include "platform/Export.h"

namespace qb {

/// What a message exporter makes of its message.
enum class ExportMode {
    /// The top-level message as separate files (bodies, attachments, metadata): no MIME body
    /// is assembled, and mimeMessage() holds the header fields.
    Files,
    /// A message inside another: assembled and serialised whole, as `body`.
    Nested,
    /// The top-level message assembled and serialised whole as one .eml, as `body`.
    RFC822,
};

/// The root of the exporter tree for one message: its body exporters, one exporter per
/// attachment (nested messages get exporters of their own, recursively), its metadata and,
/// for a message nested in another, the whole message as RFC 2822 bytes.
class QB_API TNEFMessageExporter : public QBExporter,
                                   public std::enable_shared_from_this<TNEFMessageExporter> {
  public:
    /// Does all the work at once; never fails.
    static std::shared_ptr<TNEFMessageExporter> create(
        std::shared_ptr<const OutlookMessage> message,
        const std::shared_ptr<TNEFMessageExporter>& parent, ExportMode mode,
        std::optional<std::string> headerHTMLString = std::nullopt);

    bool isMessage() const { return isMessage_; }
    ExportMode mode() const { return mode_; }
    bool isNestedMessage() const { return mode_ == ExportMode::Nested; }
    const Dictionary& metadataPlist() const { return metadataPlist_; }
    const QBExporterList& textExporters() const { return textExporters_; }
    const QBExporterList& attachmentExporters() const { return attachmentExporters_; }
    const std::optional<std::string>& messageClass() const { return messageClass_; }
    const std::optional<std::string>& messageID() const { return messageID_; }
    std::shared_ptr<TNEFMessageExporter> parent() const { return parent_.lock(); }
    std::shared_ptr<const OutlookMessage> tnefMessage() const { return message_; }
    const std::optional<std::string>& headerHTMLString() const { return headerHTMLString_; }
    /// In ExportMode::Files, the message as a MIME object (the header block first when one was
    /// given); the other modes keep only the serialised message, `body`.
    EDMessagePartPtr mimeMessage() const { return mimeMessage_; }

    std::optional<std::string> filename() const override { return filename_; }
    void setFilename(std::optional<std::string> name) override { filename_ = std::move(name); }
    // The serialised message: its pieces, written (attachments encoded) only as they are read.
    const std::optional<MimeBody>& body() const { return body_; }
    // The serialised message in one buffer, made on each call.
    std::optional<Bytes> data() const override;
    EDMessagePartPtr messagePart() const override;
    std::optional<std::string> mimeType() const override { return "message/rfc822"; }
    Dictionary metadata() const override;

  private:
    TNEFMessageExporter() = default;
    /// The steps of building, in order.
    void build(const std::shared_ptr<TNEFMessageExporter>& parent);
    void exportBodies(std::vector<EDMessagePartPtr>& parts);
    void exportCalendar(std::vector<EDMessagePartPtr>& parts);
    void exportAttachments(std::vector<EDMessagePartPtr>& parts);
    void exportContact(std::vector<EDMessagePartPtr>& parts);
    /// A contact or distribution list attached to the message, as its card; nothing for other
    /// classes.
    QBExporterPtr attachedContactExporter(const std::shared_ptr<OutlookMessage>& nested,
                                          std::vector<EDMessagePartPtr>& parts);
    void addHeaderFields(EDMessagePart& mime, Dictionary& metadata);
    void describeByAttachedMessages(Dictionary& metadata) const;
    void finish(EDMessagePartPtr mime, Dictionary metadata);
    /// Whether the message is assembled into one MIME body.
    bool assemblesParts() const { return mode_ != ExportMode::Files; }

    std::shared_ptr<const OutlookMessage> message_;
    std::weak_ptr<TNEFMessageExporter> parent_;
    bool isMessage_ = true;
    ExportMode mode_ = ExportMode::Files;
    std::optional<std::string> headerHTMLString_;
    std::optional<std::string> messageClass_, messageID_, filename_;
    std::optional<MimeBody> body_;
    Dictionary metadataPlist_;
    QBExporterList textExporters_, attachmentExporters_;
    EDMessagePartPtr mimeMessage_;
    mutable std::once_flag partOnce_;
    mutable EDMessagePartPtr part_;
};

/// Whether an embedded message is a changed occurrence of a recurring calendar item.
QB_API bool isCalendarException(const OutlookMessage& nested);

/// The subject as a file name: without / \ ? % * | " < > : and with the extension "eml".
QB_API std::string emlFilenameForSubject(const std::string& subject);

}  // namespace qb
