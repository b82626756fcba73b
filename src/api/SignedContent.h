// SPDX-License-Identifier: Apache-2.0
// A signed message keeps its content in a MIME entity of its own: Outlook stores an
// IPM.Note.SMIME.MultipartSigned message with one attachment, the whole multipart/signed
// entity as it was mailed. Its text and HTML become the message's MIME bodies, which the body
// exporters show when the message has no body of its own.
#pragma once

#include <memory>
#include <optional>

#include "api/MailBodies.h"
#include "model/OutlookMessage.h"
#include "platform/Bytes.h"

namespace qb {

class TNEFAttachment;

// The attachment that holds the message's signed MIME entity, or null. For a message of class
// IPM.Note.SMIME.MultipartSigned, the first attachment of type multipart/signed or named
// smime.p7m, else its only attachment; for any other message, its only attachment when it has
// that type or name. Attached messages never count.
std::shared_ptr<TNEFAttachment> signedContentAttachment(const OutlookMessage& message);

// The text and HTML of a MIME entity (header block, blank line, body) as mailBodies finds them,
// in UTF-8. Nothing when the bytes are no MIME entity, when the entity is opaque S/MIME
// (application/pkcs7-mime, or DER: its content is inside CMS, which is not read here), or when
// it holds neither a text nor an HTML part.
std::optional<MailBodies> bodiesOfMimeEntity(const Bytes& entity);

// Gives the message the bodies of its signed entity as mimeBodyContent and
// mimeHtmlBodyContent. A message whose outer mail already gave it a MIME body keeps that one,
// and the attachment itself is left as it is. True when bodies were set. An entity that is
// expected to be MIME (by its type or the message class) and does not read as one is named in
// one log line; opaque S/MIME is passed over quietly.
bool takeBodiesFromSignedContent(OutlookMessage& message);

}  // namespace qb
