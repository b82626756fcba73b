// SPDX-License-Identifier: Apache-2.0
#include "exporters/VCFExporter.h"

#include "exporters/AttachmentExporter.h"
#include "model/MAPIArray.h"

namespace qb {

namespace {

constexpr uint32_t kGivenName = 0x3A06001E;
constexpr uint32_t kSurname = 0x3A11001E;
constexpr uint32_t kDisplayName = 0x3001001E;

bool startsWith(const std::optional<std::string>& s, std::string_view prefix) {
    return s && s->starts_with(prefix);
}

std::optional<std::string> nonEmptyString(const MAPIPropList* props, uint32_t tag) {
    auto s = stringForProperty(props, tag);
    if (s && s->empty()) return std::nullopt;
    return s;
}

}  // namespace

bool VCFExporter::canHandleMessageClass(const std::optional<std::string>& messageClass) {
    return startsWith(messageClass, "IPM.Contact") || startsWith(messageClass, "IPM.DistList");
}

std::string vcardFilename(const OutlookMessage& message) {
    const MAPIPropList* props = message.mapiprops();
    const auto given = nonEmptyString(props, kGivenName);
    const auto surname = nonEmptyString(props, kSurname);
    if (given && surname) return *given + " " + *surname + ".vcf";
    if (given) return *given + ".vcf";
    if (surname) return *surname + ".vcf";
    if (auto display = nonEmptyString(props, kDisplayName)) return *display + ".vcf";
    return "vcard.vcf";
}

std::shared_ptr<VCFExporter> VCFExporter::create(std::shared_ptr<const OutlookMessage> message,
                                                 VCardVersion version) {
    if (!message) return nullptr;
    std::shared_ptr<VCFExporter> e(new VCFExporter());
    e->message_ = std::move(message);
    e->version_ = version;
    const auto messageClass = e->message_->messageClass();
    std::string text;
    if (startsWith(messageClass, "IPM.DistList")) {
        e->members_ = distributionListMembersOf(*e->message_);
        text = memberCardsText(e->members_, version);
    } else if (startsWith(messageClass, "IPM.Contact")) {
        text = contactCardText(contactCardOf(*e->message_), version);
    }
    e->data_ = Bytes::adoptString(std::move(text));
    e->filename_ = vcardFilename(*e->message_);
    return e;
}

std::optional<std::string> VCFExporter::mimeType() const {
    return version_ == VCardVersion::V21 ? "text/x-vcard" : "text/vcard";
}

EDMessagePartPtr VCFExporter::messagePart() const {
    std::call_once(partOnce_, [&] {
        part_ = AttachmentExporter::create(data_, filename_.value_or(""))->messagePart();
    });
    return part_;
}

Dictionary VCFExporter::metadata() const {
    Dictionary d = Dictionary::object();
    if (filename_) d["filename"] = *filename_;
    if (auto type = mimeType()) d["Content-Type"] = *type;
    return d;
}

}  // namespace qb
