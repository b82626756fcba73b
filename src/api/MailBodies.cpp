// SPDX-License-Identifier: Apache-2.0
// Walks a MIME part tree for the parts a mail shows as its text and HTML, past its
// attachments and its winmail.dat.
#include "api/MailBodies.h"

#include <string_view>

#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "mime/MimeConstants.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

// The value of a "name=" parameter of a header value, unquoted.
std::string parameterValue(std::string_view value, std::string_view name) {
    size_t start = value.find(';');
    while (start != std::string_view::npos) {
        std::string_view piece = value.substr(start + 1);
        const size_t end = piece.find(';');
        piece = trimmedBlanks(piece.substr(0, end));
        const size_t eq = piece.find('=');
        if (eq != std::string_view::npos &&
            lowercasedASCII(trimmedBlanks(piece.substr(0, eq))) == name) {
            std::string_view v = trimmedBlanks(piece.substr(eq + 1));
            if (v.size() >= 2 && v.front() == '"' && v.back() == '"') v = v.substr(1, v.size() - 2);
            return std::string(v);
        }
        start = end == std::string_view::npos ? end : start + 1 + end;
    }
    return {};
}

// A part the mail shows as an attachment rather than as its text.
bool isAttachment(const MimePart& part) {
    const auto& disposition = part.contentDisposition();
    if (auto type = disposition.find("type");
        type != disposition.end() && lowercasedASCII(trimmedBlanks(type->second)) == "attachment")
        return true;
    return !mimePartName(part).empty();
}

void walkLeaves(const MimePartPtr& part, int depth,
                const std::function<void(const MimePartPtr&)>& visit) {
    if (!part || depth > kMaxMimeNesting) return;
    if (part->subParts().empty()) {
        visit(part);
        return;
    }
    for (const auto& child : part->subParts())
        walkLeaves(child, depth + 1, visit);
}

}  // namespace

std::string mimePartName(const MimePart& part) {
    if (auto name = part.filename(); name && !name->empty()) return decodedMimeEncodedString(*name);
    if (auto type = part.headers().firstHeaderForKey(kMimeHeaderContentType))
        return decodedMimeEncodedString(parameterValue(*type, "name"));
    return {};
}

bool isTNEFPart(const MimePart& part) {
    if (!part.subParts().empty()) return false;
    if (lowercasedASCII(part.MIMEtype()) == "application/ms-tnef") return true;
    return lowercasedASCII(mimePartName(part)) == "winmail.dat";
}

void forEachMimeLeaf(const MimePartPtr& root,
                     const std::function<void(const MimePartPtr&)>& visit) {
    // The part model bounds the nesting already; the guard keeps this walk safe on a tree
    // built some other way.
    walkLeaves(root, 0, visit);
}

MailBodies mailBodies(const MimePartPtr& root) {
    MailBodies bodies;
    forEachMimeLeaf(root, [&](const MimePartPtr& part) {
        // A single-part mail's only part is its body, whatever its headers name.
        if (isTNEFPart(*part) || (part != root && isAttachment(*part))) return;
        if (!bodies.html)
            if (auto h = part->htmlContent()) bodies.html = std::move(h);
        if (!bodies.plain)
            if (auto p = part->plainContent()) bodies.plain = std::move(p);
    });
    return bodies;
}

}  // namespace qb
