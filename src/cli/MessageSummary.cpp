// SPDX-License-Identifier: Apache-2.0
// Bodies measured, people shown by their Internet address, attachments hashed, and nested
// messages walked to the readers' own depth limit.
#include "cli/MessageSummary.h"

#include <fmt/format.h>

#include "cli/ValueSummary.h"
#include "model/MAPIArray.h"
#include "model/MessageDate.h"
#include "model/PropertyTags.h"
#include "platform/Digest.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

namespace {

constexpr int kMaxNesting = TNEFMessage::kMaxDepth;
constexpr uint32_t PR_BODY_HTML_TEXT = 0x1013001E;

struct BodySizes {
    std::optional<size_t> plain, html, rtf;
};

BodySizes bodySizes(const OutlookMessage& m) {
    BodySizes sizes;
    const MAPIPropList* props = m.mapiprops();
    if (auto body = stringForProperty(props, PR_BODY))
        sizes.plain = body->size();
    else if (auto attr = findTNEFAttr(m.attributes(), attBody, atpText))
        if (auto text = std::get_if<std::string>(&attr->value())) sizes.plain = text->size();
    if (auto html = bytesForProperty(props, PR_BODY_HTML))
        sizes.html = html->size();
    else if (auto text = stringForProperty(props, PR_BODY_HTML_TEXT))
        sizes.html = text->size();
    if (auto rtf = bytesForProperty(props, PR_RTF_COMPRESSED)) sizes.rtf = rtf->size();
    return sizes;
}

Dictionary optionalJSON(const std::optional<std::string>& s) {
    return s ? Dictionary(*s) : Dictionary(nullptr);
}

Dictionary optionalJSON(const std::optional<size_t>& n) {
    return n ? Dictionary(*n) : Dictionary(nullptr);
}

Dictionary addressJSON(const std::shared_ptr<Address>& a) {
    if (!a) return nullptr;
    Dictionary d;
    d["name"] = optionalJSON(a->displayName());
    d["address"] = optionalJSON(a->address());
    d["type"] = optionalJSON(a->type());
    d["email"] = optionalJSON(a->email());
    d["smtp"] = optionalJSON(a->smtpAddress());
    return d;
}

// The person as `info` shows them: the name with the Internet address, the SMTP address
// standing in for an X.500 name.
std::string addressText(const Address& a) {
    const auto address = internetAddress(a);
    const auto name = a.displayName();
    if (name && !name->empty() && address && !address->empty())
        return fmt::format("{} <{}>", *name, *address);
    return a.email().value_or("");
}

Dictionary addressListJSON(const AddressList& list) {
    Dictionary d = Dictionary::array();
    for (const auto& a : list)
        d.push_back(addressJSON(a));
    return d;
}

std::string addressListText(const AddressList& list) {
    std::string out;
    for (const auto& a : list) {
        if (!out.empty()) out += ", ";
        const std::string text = addressText(*a);
        out += text.empty() ? "(empty)" : text;
    }
    return out;
}

Dictionary messageJSON(const OutlookMessage& m, int depth);

Dictionary attachmentJSON(const TNEFAttachment& a, int depth) {
    Dictionary d;
    d["filename"] = optionalJSON(a.filename());
    d["mimeType"] = optionalJSON(a.mimeType());
    d["contentId"] = optionalJSON(a.contentId());
    d["contentLocation"] = optionalJSON(a.contentLocation());
    auto data = a.rawData();
    d["size"] = data ? Dictionary(data->size()) : Dictionary(nullptr);
    d["sha256"] = data ? Dictionary(sha256Hex(*data)) : Dictionary(nullptr);
    auto nested = a.nestedMessage();
    d["message"] =
        nested && depth < kMaxNesting ? messageJSON(*nested, depth + 1) : Dictionary(nullptr);
    return d;
}

Dictionary messageJSON(const OutlookMessage& m, int depth) {
    Dictionary d;
    d["messageClass"] = optionalJSON(m.messageClass());
    d["subject"] = optionalJSON(m.subject());
    const auto date = messageDate(m);
    d["date"] = date ? Dictionary(formatRFC3339(*date)) : Dictionary(nullptr);
    d["sender"] = addressJSON(m.sender());
    d["to"] = addressListJSON(m.toRecipients());
    d["cc"] = addressListJSON(m.ccRecipients());
    d["bcc"] = addressListJSON(m.bccRecipients());
    d["tnefCorrelator"] = optionalJSON(m.tnefCorrelator());
    d["encoding"] = ianaNameForEncoding(m.encoding());
    const BodySizes sizes = bodySizes(m);
    d["bodies"] = {{"plain", optionalJSON(sizes.plain)},
                   {"html", optionalJSON(sizes.html)},
                   {"rtf", optionalJSON(sizes.rtf)}};
    Dictionary attachments = Dictionary::array();
    for (const auto& a : m.attachments())
        attachments.push_back(attachmentJSON(*a, depth));
    d["attachments"] = std::move(attachments);
    return d;
}

std::string messageText(const OutlookMessage& m, int indent, int depth) {
    const std::string pad(size_t(indent) * 2, ' ');
    std::string out;
    auto line = [&](const char* label, const std::string& value) {
        if (!value.empty()) out += fmt::format("{}{:<9} {}\n", pad, label, escapedText(value));
    };
    line("class:", m.messageClass().value_or(""));
    line("subject:", m.subject().value_or(""));
    const auto date = messageDate(m);
    line("date:", date ? formatRFC3339(*date) : "");
    line("from:", m.sender() ? addressText(*m.sender()) : "");
    line("to:", addressListText(m.toRecipients()));
    line("cc:", addressListText(m.ccRecipients()));
    line("bcc:", addressListText(m.bccRecipients()));
    const BodySizes sizes = bodySizes(m);
    std::string bodies;
    auto body = [&](const char* name, const std::optional<size_t>& n) {
        if (!n) return;
        if (!bodies.empty()) bodies += ", ";
        bodies += fmt::format("{} ({} bytes)", name, *n);
    };
    body("plain", sizes.plain);
    body("html", sizes.html);
    body("rtf", sizes.rtf);
    line("bodies:", bodies.empty() ? "none" : bodies);
    out += fmt::format("{}attachments: {}\n", pad, m.attachments().size());
    for (const auto& a : m.attachments()) {
        auto data = a->rawData();
        out +=
            fmt::format("{}  - {}  {}  {}\n", pad, escapedText(a->filename().value_or("(no name)")),
                        escapedText(a->mimeType().value_or("-")),
                        data ? fmt::format("{} bytes", data->size()) : "no data");
        if (auto nested = a->nestedMessage(); nested && depth < kMaxNesting)
            out += messageText(*nested, indent + 2, depth + 1);
    }
    return out;
}

}  // namespace

Dictionary messageJSON(const OutlookMessage& message) {
    return messageJSON(message, 0);
}

std::string messageText(const OutlookMessage& message, int indent) {
    return messageText(message, indent, 0);
}

Dictionary errorJSON(const OpenedInput& input) {
    Dictionary d;
    const ReadError& error = *input.error;
    d["domain"] = error.domain;
    d["code"] = error.code;
    d["description"] = error.description;
    d["message"] = error.withFilename(input.path);
    if (error.offset) d["offset"] = *error.offset;
    return d;
}

}  // namespace qb::cli
