// SPDX-License-Identifier: Apache-2.0
// Walks a MIME part tree for the parts a mail shows as its text and HTML, past its
// attachments and its winmail.dat.
#include "api/MailBodies.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "mime/MimeConstants.h"
#include "platform/AsciiCase.h"
#include "platform/StringEncoding.h"

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

// What a charset label means for a mail body. As browsers read mail: "us-ascii" and
// "iso-8859-1" are written by programs that send Windows-1252, and a body without a (known)
// label is read as UTF-8 when it is that.
StringEncoding bodyEncoding(const MimePart& part, std::string_view bytes) {
    const auto label = part.charset();
    StringEncoding e = label ? encodingForIANAName(trimmedBlanks(*label)) : kInvalidEncoding;
    if (e == kASCIIEncoding || e == kISOLatin1Encoding) e = kWindowsCP1252Encoding;
    if (e != kInvalidEncoding && isKnownEncoding(e)) return e;
    return isValidUTF8(bytes) ? kUTF8Encoding : kWindowsCP1252Encoding;
}

// Where the charset value of a "charset=" that starts at `at` lies, up to `end`: after the
// equals sign and an opening quote, up to a quote, a blank, a semicolon or the tag's end.
std::optional<std::pair<size_t, size_t>> charsetValueAt(std::string_view lower, size_t at,
                                                        size_t end) {
    size_t i = at + std::string_view("charset").size();
    while (i < end && (lower[i] == ' ' || lower[i] == '\t'))
        ++i;
    if (i >= end || lower[i] != '=') return std::nullopt;
    ++i;
    while (i < end && (lower[i] == ' ' || lower[i] == '\t'))
        ++i;
    if (i < end && (lower[i] == '"' || lower[i] == '\'')) ++i;
    size_t j = i;
    while (j < end && std::string_view(" \t\r\n;\"'/").find(lower[j]) == std::string_view::npos)
        ++j;
    if (j == i) return std::nullopt;
    return std::pair{i, j};
}

// The HTML with the charset its <meta> tags declare made "utf-8", which it now is: a browser
// that opens the file reads it by that declaration.
std::string htmlDeclaringUTF8(std::string html) {
    const std::string lower = lowercasedASCII(html);
    std::vector<std::pair<size_t, size_t>> values;
    for (size_t tag = lower.find("<meta"); tag != std::string::npos;) {
        const size_t end = std::min(lower.find('>', tag), lower.size());
        // Each tag's own text only, so that the scan stays linear in the document.
        const std::string_view text = std::string_view(lower).substr(0, end);
        for (size_t at = text.find("charset", tag); at != std::string_view::npos;
             at = text.find("charset", at + 1))
            if (auto value = charsetValueAt(lower, at, end)) values.push_back(*value);
        tag = end == lower.size() ? std::string::npos : lower.find("<meta", end);
    }
    for (auto it = values.rbegin(); it != values.rend(); ++it)
        html.replace(it->first, it->second - it->first, "utf-8");
    return html;
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

std::optional<std::string> bodyTextOfPart(const MimePart& part) {
    const auto bytes = part.decodedContent();
    if (!bytes) return std::nullopt;
    const std::string_view view = bytes->view();
    const StringEncoding e = bodyEncoding(part, view);
    if (e == kUTF8Encoding && isValidUTF8(view)) return std::string(view);
    return decodeMessageText({reinterpret_cast<const uint8_t*>(view.data()), view.size()}, e);
}

MailBodies mailBodies(const MimePartPtr& root) {
    MailBodies bodies;
    forEachMimeLeaf(root, [&](const MimePartPtr& part) {
        // A single-part mail's only part is its body, whatever its headers name.
        if (isTNEFPart(*part) || (part != root && isAttachment(*part))) return;
        if (part->type() != "text") return;
        std::optional<std::string>* body = nullptr;
        if (part->subtype() == "plain")
            body = &bodies.plain;
        else if (part->subtype() == "html")
            body = &bodies.html;
        if (body && !*body) *body = bodyTextOfPart(*part);
    });
    if (bodies.html) bodies.html = htmlDeclaringUTF8(std::move(*bodies.html));
    return bodies;
}

}  // namespace qb
