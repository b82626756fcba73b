// SPDX-License-Identifier: Apache-2.0
// Where the text comes from, in order: PR_BODY, the attBody record, a report's fixed
// sentence, the body of an enclosing MIME message.
#include "exporters/PlainTextExporter.h"

#include <array>
#include <utility>

#include "mime/ContentCoders.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "tnef/TNEFArray.h"

namespace qb {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kReportTexts{{
    {"REPORT.IPM.Note.IPNRN", "The message was read.\r\n"},
    {"IPM.Microsoft Mail.Read Receipt", "The message was read.\r\n"},
    {"REPORT.IPM.Note.IPNNRN", "The message was deleted without being read.\r\n"},
    {"REPORT.IPM.Note.DR", "The message was delivered.\r\n"},
    {"REPORT.IPM.Note.NDR", "The message was not delivered.\r\n"},
    {"IPM.Microsoft Mail.Non-Delivery", "The message was not delivered.\r\n"},
}};

}  // namespace

std::optional<std::string> plainTextOfMessage(const OutlookMessage& message) {
    std::optional<std::string> text = stringForProperty(message.mapiprops(), PR_BODY);
    if (!text) {
        const TNEFAttrValue v = valueForTNEFName(message.attributes(), attBody, atpText);
        if (const auto* s = std::get_if<std::string>(&v)) text = *s;
    }
    if (!text || text->empty()) {
        text.reset();
        const std::string cls = message.messageClass().value_or("");
        for (const auto& [reportClass, sentence] : kReportTexts)
            if (cls == reportClass) text = std::string(sentence);
    }
    if (!text) text = message.mimeBodyContent();
    if (text && text->empty()) text.reset();
    return text;
}

Dictionary textExporterMetadata(const std::optional<std::string>& filename,
                                const std::string& mimeType) {
    Dictionary d = Dictionary::object();
    if (filename) d["filename"] = *filename;
    d["Content-Type"] = mimeType;
    d["isFromTextExporter"] = true;
    return d;
}

PlainTextExporter::PlainTextExporter(std::shared_ptr<const OutlookMessage> message,
                                     std::string text)
    : message_(std::move(message)), plainText_(std::move(text)) {}

std::shared_ptr<PlainTextExporter> PlainTextExporter::create(
    std::shared_ptr<const OutlookMessage> message) {
    if (!message) return nullptr;
    auto text = plainTextOfMessage(*message);
    if (!text) return nullptr;
    return std::shared_ptr<PlainTextExporter>(
        new PlainTextExporter(std::move(message), std::move(*text)));
}

std::optional<Bytes> PlainTextExporter::data() const {
    std::call_once(dataOnce_, [&] { data_ = Bytes::fromString(plainText_); });
    return data_;
}

EDMessagePartPtr PlainTextExporter::messagePart() const {
    std::call_once(partOnce_, [&] { part_ = EDPlainTextContentCoder(plainText_).messagePart(); });
    return part_;
}

Dictionary PlainTextExporter::metadata() const {
    return textExporterMetadata(filename_, *mimeType());
}

}  // namespace qb
