// SPDX-License-Identifier: Apache-2.0
// An RFC 2822 message that carries a winmail.dat: telling such a mail apart from other
// bytes, finding its TNEF parts and the outer headers the TNEF reader takes.
#pragma once

#include <vector>

#include "mime/MimePart.h"
#include "platform/Bytes.h"
#include "platform/Dictionary.h"

namespace qb {

// Whether the bytes start as a mail does: a header field line first, and a blank line that
// ends the header block somewhere after it.
bool looksLikeMail(const Bytes& data);

// The bytes as the part model reads them: bare LF line ends become CR LF (a new buffer);
// data already in CR LF is returned as it is.
Bytes withMailLineEnds(const Bytes& data);

// The mail's part tree (line ends made CR LF first, the built-in part kinds registered); null
// when the bytes give none.
MimePartPtr mimePartsOfMail(const Bytes& data);

// The application/ms-tnef parts and the parts named winmail.dat, in tree order.
std::vector<MimePartPtr> tnefPartsOfMail(const MimePartPtr& root);

// The outer mail's headers as the TNEF reader takes them: "X-MS-TNEF-Correlator",
// "messageID", "sender", "to", "cc", "bcc", "subject", "date" (RFC 3339), and the mail's
// own text and HTML bodies as "mimeBodyContent" and "mimeHtmlBodyContent". Values are
// decoded (encoded words, folded lines); absent headers leave their key out.
Dictionary tnefHeaderDictionary(const MimePartPtr& root);

}  // namespace qb
