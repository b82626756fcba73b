// SPDX-License-Identifier: Apache-2.0
// Bodies measured, people with their Internet address, attachments hashed, and nested messages
// walked to the readers' own depth limit.
#include "api/MessageInfo.h"

#include "model/MAPIArray.h"
#include "model/MessageDate.h"
#include "model/PropertyTags.h"
#include "platform/Digest.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {

namespace {

constexpr int kMaxNesting = TNEFMessage::kMaxDepth;
constexpr uint32_t PR_BODY_HTML_TEXT = 0x1013001E;

Dictionary optionalJSON(const std::optional<std::string>& s) {
    return s ? Dictionary(*s) : Dictionary(nullptr);
}

template <class T>
Dictionary sizeJSON(const std::optional<T>& v) {
    return v ? Dictionary(v->size()) : Dictionary(nullptr);
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

Dictionary addressListJSON(const AddressList& list) {
    Dictionary d = Dictionary::array();
    for (const auto& a : list)
        d.push_back(addressJSON(a));
    return d;
}

Dictionary messageJSON(const OutlookMessage& m, int depth);

Dictionary attachmentJSON(const TNEFAttachment& a, int depth) {
    Dictionary d;
    d["filename"] = optionalJSON(a.filename());
    d["mimeType"] = optionalJSON(a.mimeType());
    d["contentId"] = optionalJSON(a.contentId());
    d["contentLocation"] = optionalJSON(a.contentLocation());
    auto data = a.rawData();
    d["size"] = sizeJSON(data);
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
    const MessageBodies bodies = messageBodies(m);
    d["bodies"] = {{"plain", sizeJSON(bodies.plain)},
                   {"html", sizeJSON(bodies.html)},
                   {"rtf", sizeJSON(bodies.rtf)}};
    Dictionary attachments = Dictionary::array();
    for (const auto& a : m.attachments())
        attachments.push_back(attachmentJSON(*a, depth));
    d["attachments"] = std::move(attachments);
    return d;
}

Dictionary warningsJSON(const ReadReport& report) {
    Dictionary list = Dictionary::array();
    for (const auto& w : report.warnings()) {
        Dictionary item;
        item["text"] = w.text;
        item["offset"] = w.offset ? Dictionary(*w.offset) : Dictionary(nullptr);
        list.push_back(std::move(item));
    }
    return list;
}

}  // namespace

MessageBodies messageBodies(const OutlookMessage& m) {
    MessageBodies bodies;
    const MAPIPropList* props = m.mapiprops();
    if (auto body = stringForProperty(props, PR_BODY))
        bodies.plain = std::move(body);
    else if (auto attr = findTNEFAttr(m.attributes(), attBody, atpText))
        if (auto text = std::get_if<std::string>(&attr->value())) bodies.plain = *text;
    if (auto html = bytesForProperty(props, PR_BODY_HTML))
        bodies.html = std::move(html);
    else if (auto text = stringForProperty(props, PR_BODY_HTML_TEXT))
        bodies.html = Bytes::adoptString(std::move(*text));
    bodies.rtf = bytesForProperty(props, PR_RTF_COMPRESSED);
    return bodies;
}

Dictionary messageInfoJSON(const OutlookMessage& message) {
    return messageJSON(message, 0);
}

Dictionary infoRecord(const std::string& file, MessageFormat format,
                      const OutlookMessage& message) {
    Dictionary record;
    record["file"] = file;
    record["format"] = formatName(format);
    record["message"] = messageInfoJSON(message);
    const auto& report = *message.report();
    if (report.partial()) {
        record["partial"] = true;
        record["warnings"] = warningsJSON(report);
    }
    return record;
}

Dictionary errorRecord(const std::string& file, const ReadError& error) {
    Dictionary d;
    d["domain"] = error.domain;
    d["code"] = error.code;
    d["description"] = error.description;
    d["message"] = error.withFilename(file);
    if (error.offset) d["offset"] = *error.offset;
    Dictionary record;
    record["file"] = file;
    record["error"] = std::move(d);
    return record;
}

std::string infoLine(const Dictionary& record) {
    return record.dump(-1, ' ', false, Dictionary::error_handler_t::replace);
}

}  // namespace qb
