// SPDX-License-Identifier: Apache-2.0
// Where a name and content come from, in order of trust: properties, then TNEF attributes,
// then the owning message; OLE objects give their CONTENTS stream, MacBinary its data fork.
#include "tnef/TNEFAttachment.h"

#include <algorithm>
#include <string_view>

#include "OXMSG/cfb/CFBEntry.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "tnef/MacBinary.h"
#include "tnef/TNEFArray.h"

namespace qb {

namespace {

constexpr uint32_t PR_ATTACH_ENCODING = 0x37020102;
constexpr int64_t kRenderingOLE = 3;
constexpr std::string_view kMacBinaryOID("\x2A\x86\x48\x86\xF7\x14\x03\x0B\x01", 9);

bool nonEmpty(const std::optional<std::string>& s) {
    return s && !s->empty();
}

}  // namespace

TNEFAttachment::TNEFAttachment(TNEFAttrList attributes,
                               const std::shared_ptr<const OutlookMessage>& message)
    : attributes_(std::move(attributes)), message_(message) {
    if (auto attr = std::find_if(attributes_.begin(), attributes_.end(),
                                 [](const auto& a) { return a->name() == attAttachRenddata; });
        attr != attributes_.end())
        if (auto r = std::get_if<TNEFAttachmentRendData>(&(*attr)->value())) rendData_ = *r;
}

TNEFAttachment::TNEFAttachment(MAPIPropList props, std::shared_ptr<OutlookMessage> nestedMessage,
                               const std::shared_ptr<const OutlookMessage>& message)
    : message_(message), mapiprops_(std::move(props)) {
    if (nestedMessage) nestedMessage_ = std::move(nestedMessage);
}

const MAPIPropList* TNEFAttachment::mapiprops() const {
    std::lock_guard lock(mutex_);
    if (!mapiprops_) {
        auto attr = findTNEFAttr(attributes_, attAttachment, atpByte);
        if (!attr) return nullptr;
        // Bounded by the record's own bytes, read from their start.
        size_t pos = 0;
        mapiprops_ = MAPIProp::propertiesOfMessage(message_.lock(), attr->rawData(), pos);
    }
    return &*mapiprops_;
}

std::optional<std::string> TNEFAttachment::computeFilename() const {
    const MAPIPropList* props = mapiprops();
    for (uint32_t tag : {PR_ATTACH_LONG_FILENAME, PR_ATTACH_FILENAME, PR_DISPLAY_NAME})
        if (auto name = stringForProperty(props, tag); nonEmpty(name)) return name;
    for (uint32_t id : {uint32_t(attAttachTitle), uint32_t(attAttachTransportFilename)}) {
        auto value = valueForTNEFName(attributes_, id, atpString);
        if (auto name = std::get_if<std::string>(&value); name && !name->empty()) return *name;
    }
    if (auto owner = message_.lock()) {
        auto cls = owner->messageClass();
        if (cls && cls->starts_with("IPM.Document"))
            return stringForProperty(owner->mapiprops(), PR_CONVERSATION_TOPIC);
    }
    return std::nullopt;
}

std::optional<std::string> TNEFAttachment::filename() const {
    std::lock_guard lock(mutex_);
    if (!filename_) filename_ = computeFilename();
    return *filename_;
}

std::optional<std::string> TNEFAttachment::mimeType() const {
    std::lock_guard lock(mutex_);
    if (!mimeType_) mimeType_ = stringForProperty(mapiprops(), PR_ATTACH_MIME_TAG);
    return *mimeType_;
}

std::optional<std::string> TNEFAttachment::contentId() const {
    std::lock_guard lock(mutex_);
    if (!contentId_) contentId_ = stringForProperty(mapiprops(), PR_ATTACH_CONTENT_ID);
    return *contentId_;
}

std::optional<std::string> TNEFAttachment::contentLocation() const {
    std::lock_guard lock(mutex_);
    if (!contentLocation_)
        contentLocation_ = stringForProperty(mapiprops(), PR_ATTACH_CONTENT_LOCATION);
    return *contentLocation_;
}

std::shared_ptr<OutlookMessage> TNEFAttachment::nestedMessage() const {
    std::lock_guard lock(mutex_);
    if (!nestedMessage_) {
        auto value = valueForProperty(mapiprops(), PR_ATTACH_DATA_OBJ);
        auto nested = std::get_if<std::shared_ptr<OutlookMessage>>(&value);
        nestedMessage_ = nested ? *nested : nullptr;
    }
    return *nestedMessage_;
}

std::optional<Bytes> TNEFAttachment::computeRawData() const {
    const MAPIPropList* props = mapiprops();
    std::optional<Bytes> content;
    auto object = valueForProperty(props, PR_ATTACH_DATA_OBJ);
    if (auto entry = std::get_if<std::shared_ptr<CFBEntry>>(&object);
        entry && *entry && rendData_ && rendData_->type == kRenderingOLE) {
        // An OLE object: its content is the storage's CONTENTS stream.
        if (auto contents = (*entry)->entry("CONTENTS")) content = contents->data();
    } else if (auto bytes = valueAs<Bytes>(object)) {
        content = *bytes;
    }
    if (auto bin = bytesForProperty(props, PR_ATTACH_DATA_BIN)) content = bin;
    if (!content) {
        auto value = valueForTNEFName(attributes_, attAttachData, atpByte);
        if (auto bytes = std::get_if<Bytes>(&value)) content = *bytes;
    }
    if (content)
        if (auto fork = decodeMacBinary(*content); fork && !fork->empty()) content = fork;
    return content;
}

std::optional<Bytes> TNEFAttachment::rawData() const {
    std::lock_guard lock(mutex_);
    if (!rawData_) rawData_ = computeRawData();
    return *rawData_;
}

std::optional<Bytes> TNEFAttachment::decodeMacBinary(const Bytes& content) const {
    auto encoding = bytesForProperty(mapiprops(), PR_ATTACH_ENCODING);
    if (!encoding || !encoding->view().starts_with(kMacBinaryOID) || content.size() < 129)
        return std::nullopt;
    return CopyDataForkFromMacBinary(content);
}

#define QB_SETTER(method, field, T)    \
    void TNEFAttachment::method(T v) { \
        std::lock_guard lock(mutex_);  \
        field = std::move(v);          \
    }
QB_SETTER(setFilename, filename_, std::optional<std::string>)
QB_SETTER(setMimeType, mimeType_, std::optional<std::string>)
QB_SETTER(setContentId, contentId_, std::optional<std::string>)
QB_SETTER(setContentLocation, contentLocation_, std::optional<std::string>)
QB_SETTER(setRawData, rawData_, std::optional<Bytes>)
QB_SETTER(setNestedMessage, nestedMessage_, std::shared_ptr<OutlookMessage>)
#undef QB_SETTER

}  // namespace qb
