// SPDX-License-Identifier: Apache-2.0
// Building the exporter tree step by step, and assembling the MIME message from it.
#include "exporters/TNEFMessageExporter.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "exporters/HTMLExporter.h"
#include "exporters/ICSExporter.h"
#include "exporters/PlainTextExporter.h"
#include "exporters/RTFExporter.h"
#include "exporters/VCFExporter.h"
#include "mime/ContentCoders.h"
#include "mime/FieldCoders.h"
#include "mime/MimeConstants.h"
#include "model/MAPIArray.h"
#include "model/MessageDate.h"
#include "model/PropertyTags.h"
#include "platform/AsciiCase.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

namespace {

constexpr std::string_view kRemovedFromSubject = "/\\?%*|\"<>:";
constexpr const char* kEmptySubject = "message";

bool startsWith(const std::optional<std::string>& s, std::string_view prefix) {
    return s && s->compare(0, prefix.size(), prefix) == 0;
}

// Writes one recipient kind: the header with every recipient that has an address text, the
// metadata array with those texts. Nothing at all when there are no such recipients.
void addRecipients(EDMessagePart& message, Dictionary& metadata, const AddressList& list,
                   const char* header, const char* key) {
    if (list.empty()) return;
    Dictionary emails = Dictionary::array();
    std::string field;
    for (const auto& address : list) {
        if (!address) continue;
        auto email = address->email();
        if (!email) continue;
        emails.push_back(*email);
        if (auto mailbox = mailboxFieldBody(*address)) {
            if (!field.empty()) field += ", ";
            field += *mailbox;
        }
    }
    message.addToHeaderFields(header, field);
    metadata[key] = std::move(emails);
}

}  // namespace

std::string emlFilenameForSubject(const std::string& subject) {
    std::string name;
    for (char c : subject)
        if (kRemovedFromSubject.find(c) == std::string_view::npos) name += c;
    if (name.empty()) name = kEmptySubject;
    return name + ".eml";
}

std::shared_ptr<TNEFMessageExporter> TNEFMessageExporter::create(
    std::shared_ptr<const OutlookMessage> message,
    const std::shared_ptr<TNEFMessageExporter>& parent, ExportMode mode,
    std::optional<std::string> headerHTMLString) {
    if (!message) return nullptr;
    std::shared_ptr<TNEFMessageExporter> e(new TNEFMessageExporter());
    e->message_ = std::move(message);
    e->mode_ = mode;
    e->headerHTMLString_ = std::move(headerHTMLString);
    e->build(parent);
    return e;
}

void TNEFMessageExporter::build(const std::shared_ptr<TNEFMessageExporter>& parent) {
    parent_ = parent;
    messageClass_ = message_->messageClass();
    isMessage_ =
        !startsWith(messageClass_, "IPM.Appointment") && !startsWith(messageClass_, "IPM.Task");
    if (VCFExporter::canHandleMessageClass(messageClass_)) isMessage_ = false;

    Dictionary metadata = Dictionary::object();
    messageID_ = message_->tnefCorrelator();
    if (messageID_) metadata["X-MS-TNEF-Correlator"] = *messageID_;

    std::vector<EDMessagePartPtr> parts;
    if (headerHTMLString_ && !headerHTMLString_->empty())
        parts.push_back(EDHTMLTextContentCoder(*headerHTMLString_).messagePart());
    exportBodies(parts);
    exportCalendar(parts);
    exportContact(parts);
    exportAttachments(parts);

    auto mime = EDCompositeContentCoder(std::move(parts)).message();
    addHeaderFields(*mime, metadata);
    describeByAttachedMessages(metadata);
    finish(std::move(mime), std::move(metadata));
}

// The text, RTF and HTML bodies; assembled, they are one multipart/alternative part.
void TNEFMessageExporter::exportBodies(std::vector<EDMessagePartPtr>& parts) {
    std::vector<EDMessagePartPtr> alternatives;
    QBExporterList texts;
    if (auto plain = PlainTextExporter::create(message_)) {
        texts.push_back(plain);
        if (assemblesParts()) alternatives.push_back(plain->messagePart());
    }
    // An RTF body takes the place of an HTML body; when it could only give pictures, they
    // come first among the attachments and the body is not listed.
    auto rtf = RTFExporter::create(message_);
    if (rtf && !rtf->embbedImageAttachments().empty()) {
        for (const auto& picture : rtf->embbedImageAttachments()) {
            if (assemblesParts()) parts.push_back(picture->messagePart());
            attachmentExporters_.push_back(picture);
        }
    } else if (rtf) {
        texts.push_back(rtf);
        if (assemblesParts()) alternatives.push_back(rtf->messagePart());
    }
    if (auto html = rtf ? nullptr : HTMLExporter::create(message_)) {
        texts.push_back(html);
        if (assemblesParts()) alternatives.push_back(html->messagePart());
    }
    if (!alternatives.empty())
        parts.push_back(EDCompositeContentCoder(std::move(alternatives))
                            .messagePartWithSubtype(kMimeMultipartSubtypeAternative, parts.size()));
    textExporters_ = std::move(texts);
}

// A calendar item is also its calendar file.
void TNEFMessageExporter::exportCalendar(std::vector<EDMessagePartPtr>& parts) {
    if (!ICSExporter::canHandleMessageClass(messageClass_)) return;
    auto calendar = ICSExporter::create(message_, shared_from_this());
    if (!calendar) return;
    if (assemblesParts()) parts.push_back(calendar->messagePart());
    attachmentExporters_.push_back(calendar);
}

// The changed occurrences of a recurring item travel as hidden embedded messages of this
// class; they belong to the item's calendar file, not among its files.
bool isCalendarException(const OutlookMessage& nested) {
    static constexpr std::string_view kExceptionClass =
        "IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}";
    const auto cls = nested.messageClass();
    return cls && startsWithIgnoringASCIICase(*cls, kExceptionClass);
}

// One exporter per attachment; a nested message gets a message exporter of its own.
void TNEFMessageExporter::exportAttachments(std::vector<EDMessagePartPtr>& parts) {
    const auto self = shared_from_this();
    const std::set<std::string> shownByBody = contentIDsReferencedByHTMLBody(*message_);
    for (const auto& attachment : message_->attachments()) {
        if (!attachment) continue;
        if (auto nested = attachment->nestedMessage()) {
            if (isCalendarException(*nested)) continue;
            if (ICSExporter::canHandleMessageClass(nested->messageClass())) {
                auto calendar = ICSExporter::create(nested, self);
                if (assemblesParts()) parts.push_back(calendar->messagePart());
                attachmentExporters_.push_back(calendar);
                continue;
            }
            if (auto card = attachedContactExporter(nested, parts)) {
                attachmentExporters_.push_back(std::move(card));
                continue;
            }
            auto child = create(nested, self, ExportMode::Nested);
            if (!child) continue;
            if (assemblesParts()) parts.push_back(child->messagePart());
            if (child->isMessage()) {
                attachmentExporters_.push_back(child);
            } else {
                // An item that is not a message contributes its attachments in its place.
                for (const auto& e : child->attachmentExporters())
                    attachmentExporters_.push_back(e);
            }
        } else if (auto file = AttachmentExporter::create(attachment)) {
            if (auto id = attachment->contentId())
                file->setInline(shownByBody.contains(normalizedContentID(*id)));
            if (assemblesParts()) parts.push_back(file->messagePart());
            attachmentExporters_.push_back(file);
        }
    }
}

// A contact's or distribution list's own card, after the bodies.
void TNEFMessageExporter::exportContact(std::vector<EDMessagePartPtr>& parts) {
    if (!VCFExporter::canHandleMessageClass(messageClass_)) return;
    auto card = VCFExporter::create(message_);
    if (!card) return;
    if (assemblesParts()) parts.push_back(card->messagePart());
    attachmentExporters_.push_back(std::move(card));
}

QBExporterPtr TNEFMessageExporter::attachedContactExporter(
    const std::shared_ptr<OutlookMessage>& nested, std::vector<EDMessagePartPtr>& parts) {
    if (!VCFExporter::canHandleMessageClass(nested->messageClass())) return nullptr;
    auto card = VCFExporter::create(nested);
    if (card && assemblesParts()) parts.push_back(card->messagePart());
    return card;
}

// The header fields of the assembled message, and the metadata that mirrors them; the
// subject also names the .eml.
void TNEFMessageExporter::addHeaderFields(EDMessagePart& mime, Dictionary& metadata) {
    const OutlookMessage& msg = *message_;
    if (messageClass_ && *messageClass_ == "IPM.StickyNote")
        mime.addToHeaderFields("X-Uniform-Type-Identifier", "com.apple.mail-note");
    if (auto sender = msg.sender()) {
        if (auto email = sender->email()) {
            if (auto mailbox = mailboxFieldBody(*sender)) mime.addToHeaderFields("From", *mailbox);
            metadata["From"] = *email;
        }
    }
    addRecipients(mime, metadata, msg.toRecipients(), "To", "ToRecipients");
    addRecipients(mime, metadata, msg.ccRecipients(), "CC", "CCRecipients");
    // The field is written under this name on purpose.
    addRecipients(mime, metadata, msg.bccRecipients(), "BBC", "BCCRecipients");

    std::string subject = msg.subject().value_or("");
    if (subject.empty()) subject = kEmptySubject;
    if (subject != kEmptySubject) metadata["Subject"] = subject;
    mime.addToHeaderFields("Subject", EDTextFieldCoder::encoderWithText(subject).fieldBody());
    filename_ = emlFilenameForSubject(subject);

    if (auto date = messageDate(msg)) {
        mime.addToHeaderFields("Date", EDDateFieldCoder::encoderWithDate(*date).fieldBody());
        metadata["Date"] = formatRFC3339(*date);
    }
    // What ties the message into its thread, as the message received it.
    for (auto [name, tag] : {std::pair{"Message-ID", PR_INTERNET_MESSAGE_ID},
                             std::pair{"In-Reply-To", PR_IN_REPLY_TO_ID},
                             std::pair{"References", PR_INTERNET_REFERENCES}}) {
        auto value = stringForProperty(msg.mapiprops(), tag);
        if (value && !value->empty())
            mime.addToHeaderFields(name, EDTextFieldCoder::encoderWithText(*value).fieldBody());
    }
}

// A wrapper whose only content is an attached message is described by that message.
void TNEFMessageExporter::describeByAttachedMessages(Dictionary& metadata) const {
    for (const auto& attachment : message_->attachments()) {
        if (!attachment) continue;
        auto nested = attachment->nestedMessage();
        if (!nested) continue;
        if (!metadata.contains("From"))
            if (auto sender = nested->sender())
                if (auto email = sender->email()) metadata["From"] = *email;
        if (!metadata.contains("Subject"))
            if (auto s = nested->subject(); s && !s->empty()) metadata["Subject"] = *s;
        if (!metadata.contains("Date"))
            if (auto d = messageDate(*nested)) metadata["Date"] = formatRFC3339(*d);
    }
}

// Keeps an assembled message as the pieces it is written from, and lists every export in the
// metadata.
void TNEFMessageExporter::finish(EDMessagePartPtr mime, Dictionary metadata) {
    if (assemblesParts())
        body_ = mime->transferBody();
    else
        mimeMessage_ = std::move(mime);

    Dictionary contents = Dictionary::array();
    for (const auto& e : textExporters_)
        contents.push_back(e->metadata());
    for (const auto& e : attachmentExporters_)
        contents.push_back(e->metadata());
    metadata["InternalContents"] = std::move(contents);
    metadataPlist_ = std::move(metadata);
}

EDMessagePartPtr TNEFMessageExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        part_ = EDMultimediaContentCoder(body_.value_or(MimeBody()), filename_.value_or(""), false)
                    .messagePart();
    });
    return part_;
}

std::optional<Bytes> TNEFMessageExporter::data() const {
    if (!body_) return std::nullopt;
    return Bytes::adoptString(body_->str());
}

Dictionary TNEFMessageExporter::metadata() const {
    Dictionary d = Dictionary::object();
    if (filename_) d["filename"] = *filename_;
    d["Content-Type"] = *mimeType();
    d["x-mac-hide-extension"] = "yes";
    return d;
}

}  // namespace qb
