// SPDX-License-Identifier: Apache-2.0
// The text and HTML a mail shows as its body, found in its MIME part tree; shared by the
// winmail.dat reader (the outer mail's bodies) and signed entities (the signed content).
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "mime/MimePart.h"

namespace qb {

struct MailBodies {
    std::optional<std::string> plain, html;
};

// The first text/plain and the first text/html leaf, in tree order, that is no attachment: a
// part with an attachment disposition or a file name is left out, and so is any TNEF part.
// Each is decoded as bodyTextOfPart does; the HTML's <meta> charset declarations then say
// "utf-8", as the text now is.
MailBodies mailBodies(const MimePartPtr& root);

// A text part's body as UTF-8: its transfer encoding undone, then read in its charset
// (inherited from the parts around it). Labels read as mail readers do: "us-ascii" and
// "iso-8859-1" as Windows-1252; no label, or one we do not know, as UTF-8 when the bytes are
// that and Windows-1252 otherwise. Bytes that do not decode become U+FFFD. Nothing when the
// part has no body.
std::optional<std::string> bodyTextOfPart(const MimePart& part);

// The part's file name: the disposition's filename, else the Content-Type's name, decoded;
// "" when it has neither.
std::string mimePartName(const MimePart& part);

// An application/ms-tnef leaf, or a leaf named winmail.dat (any case).
bool isTNEFPart(const MimePart& part);

// Every leaf below `root`, in tree order, at most kMaxMimeNesting levels down.
void forEachMimeLeaf(const MimePartPtr& root, const std::function<void(const MimePartPtr&)>& visit);

}  // namespace qb
