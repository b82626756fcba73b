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

// The first text and the first HTML leaf, in tree order, that is no attachment: a part
// with an attachment disposition or a file name is left out, and so is any TNEF part.
MailBodies mailBodies(const MimePartPtr& root);

// The part's file name: the disposition's filename, else the Content-Type's name, decoded;
// "" when it has neither.
std::string mimePartName(const MimePart& part);

// An application/ms-tnef leaf, or a leaf named winmail.dat (any case).
bool isTNEFPart(const MimePart& part);

// Every leaf below `root`, in tree order, at most kMaxMimeNesting levels down.
void forEachMimeLeaf(const MimePartPtr& root, const std::function<void(const MimePartPtr&)>& visit);

}  // namespace qb
