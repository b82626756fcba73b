// SPDX-License-Identifier: Apache-2.0
// Finds the MIME entity a signed message carries as an attachment and reads its text and HTML
// with the part model, the way the bodies of a mail that carries a winmail.dat are read.
#include "api/SignedContent.h"

#include <string>
#include <string_view>

#include "api/TNEFInMail.h"
#include "mailkit/MailKitStrings.h"
#include "mime/MimePart.h"
#include "platform/AsciiCase.h"
#include "platform/Log.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

namespace {

constexpr std::string_view kMultipartSignedClass = "ipm.note.smime.multipartsigned";

bool hasSignedClass(const OutlookMessage& message) {
    const std::string cls = lowercasedASCII(message.messageClass().value_or(""));
    return cls == kMultipartSignedClass ||
           (cls.starts_with(kMultipartSignedClass) && cls[kMultipartSignedClass.size()] == '.');
}

bool hasSignedType(const TNEFAttachment& attachment) {
    const std::string type = attachment.mimeType().value_or("");
    const std::string_view bare = std::string_view(type).substr(0, type.find(';'));
    return lowercasedASCII(trimmedBlanks(bare)) == "multipart/signed";
}

// Outlook names the entity of a signed message smime.p7m whatever it holds.
bool isSignedEntity(const TNEFAttachment& attachment) {
    return hasSignedType(attachment) ||
           lowercasedASCII(trimmedBlanks(attachment.filename().value_or(""))) == "smime.p7m";
}

enum class EntityKind { Bodies, NoText, Opaque, NotMime };

struct EntityReading {
    EntityKind kind;
    MailBodies bodies;
};

EntityReading readEntity(const Bytes& entity) {
    const std::string_view bytes = entity.view();
    // A DER SEQUENCE: CMS signed or enveloped data, whose content only a CMS reader reaches.
    if (!bytes.empty() && bytes.front() == '\x30') return {EntityKind::Opaque, {}};
    if (!looksLikeMail(entity)) return {EntityKind::NotMime, {}};
    const MimePartPtr root = mimePartsOfMail(entity);
    if (!root || !root->type()) return {EntityKind::NotMime, {}};
    const std::string type = lowercasedASCII(root->MIMEtype());
    if (type == "application/pkcs7-mime" || type == "application/x-pkcs7-mime")
        return {EntityKind::Opaque, {}};
    MailBodies bodies = mailBodies(root);
    if (!bodies.plain && !bodies.html) return {EntityKind::NoText, {}};
    return {EntityKind::Bodies, std::move(bodies)};
}

}  // namespace

std::shared_ptr<TNEFAttachment> signedContentAttachment(const OutlookMessage& message) {
    const auto& attachments = message.attachments();
    if (hasSignedClass(message)) {
        for (const auto& a : attachments)
            if (a && isSignedEntity(*a)) return a;
        if (attachments.size() == 1 && attachments[0] && !attachments[0]->nestedMessage())
            return attachments[0];
        return nullptr;
    }
    if (attachments.size() == 1 && attachments[0] && isSignedEntity(*attachments[0]))
        return attachments[0];
    return nullptr;
}

std::optional<MailBodies> bodiesOfMimeEntity(const Bytes& entity) {
    EntityReading reading = readEntity(entity);
    if (reading.kind != EntityKind::Bodies) return std::nullopt;
    return std::move(reading.bodies);
}

bool takeBodiesFromSignedContent(OutlookMessage& message) {
    if (message.mimeBodyContent() || message.mimeHtmlBodyContent()) return false;
    const auto attachment = signedContentAttachment(message);
    if (!attachment) return false;
    const auto data = attachment->rawData();
    if (!data || data->empty()) return false;
    EntityReading reading = readEntity(*data);
    if (reading.kind == EntityKind::NotMime &&
        (hasSignedType(*attachment) || hasSignedClass(message)))
        log("Signed content is not a MIME entity; the message is shown without it");
    if (reading.kind != EntityKind::Bodies) return false;
    message.setMimeBodyContent(std::move(reading.bodies.plain));
    message.setMimeHtmlBodyContent(std::move(reading.bodies.html));
    return true;
}

}  // namespace qb
