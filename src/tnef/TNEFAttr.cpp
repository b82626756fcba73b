// SPDX-License-Identifier: Apache-2.0
// Decoding by record id, then by type: property lists and recipient tables bounded by the
// stream, addresses from "TYPE:address" strings, text in the message's code page.
#include "tnef/TNEFAttr.h"

#include <fmt/format.h>

#include <array>

#include "platform/ByteReader.h"
#include "platform/StringEncoding.h"
#include "tnef/TNEFMessage.h"

namespace qb {

namespace {

std::optional<std::string> decodeText(const Bytes& b, StringEncoding encoding) {
    return decodeMessageText(b.withoutTrailingNULs().span(), encoding);
}

// "TYPE:address" -> (address, type); nothing without a colon.
std::shared_ptr<Address> addressFromTypedString(std::optional<std::string> name,
                                                const std::optional<std::string>& typed,
                                                uint32_t trpId) {
    if (!typed) return nullptr;
    const size_t colon = typed->find(':');
    if (colon == std::string::npos) return nullptr;
    return std::make_shared<Address>(std::move(name), typed->substr(colon + 1),
                                     typed->substr(0, colon), trpId);
}

}  // namespace

TNEFAttr::TNEFAttr(const std::shared_ptr<const TNEFMessage>& message, const Bytes& data,
                   size_t location, int32_t level, uint32_t type, uint32_t name, uint32_t length)
    : message_(message),
      data_(data),
      location_(location),
      level_(level),
      type_(type),
      name_(name),
      length_(length) {
    decode(message);
}

void TNEFAttr::decodeTextAgain() {
    if (name_ == attMAPIProps || name_ == attRecipTable || name_ == attAttachRenddata) return;
    const bool text = type_ == atpTriples || type_ == atpString || type_ == atpText ||
                      type_ == atpWord || name_ == attOwner || name_ == attSentFor;
    if (text) decode(message_.lock());
}

void TNEFAttr::decode(const std::shared_ptr<const TNEFMessage>& message) {
    const StringEncoding encoding = message ? message->encoding() : kISOLatin1Encoding;
    const std::optional<Bytes> record = data_.sub(location_, length_);

    switch (name_) {
        case attMAPIProps: {
            // The list is bounded by the stream, not the record: an oversized count reads on.
            size_t pos = location_;
            value_ = MAPIProp::propertiesOfMessage(message, data_, pos);
            return;
        }
        case attRecipTable: {
            RecipientRows rows;
            ByteReader in(data_, location_);
            // Each row needs at least its own 4-byte count, so the stream bounds the rows.
            const uint64_t count = in.fitCount(in.u32le().value_or(0), 4);
            size_t pos = in.position();
            for (uint64_t i = 0; i < count && data_.size() - std::min(pos, data_.size()) >= 4; ++i)
                rows.push_back(MAPIProp::propertiesOfMessage(message, data_, pos));
            value_ = std::move(rows);
            return;
        }
        case attAttachRenddata:
            if (length_ >= 14 && record) {
                ByteCursor in(*record);
                TNEFAttachmentRendData r;
                r.type = in.u16le();
                r.position = in.u32le();
                r.width = in.u16le();
                r.height = in.u16le();
                r.flags = in.u32le();
                value_ = r;
                return;
            }
            break;
        case attOwner:
        case attSentFor: {
            ByteReader in(data_, location_);
            std::optional<std::string> displayName, typed;
            if (auto n = in.u16le())
                if (auto b = in.take(*n)) displayName = decodeText(*b, encoding);
            if (auto n = in.u16le())
                if (auto b = in.take(*n)) typed = decodeText(*b, encoding);
            if (auto a = addressFromTypedString(displayName, typed, 0)) value_ = a;
            return;
        }
        default:
            break;
    }

    if (!record) return;
    switch (type_) {
        case atpTriples: {
            ByteReader in(*record);
            auto trpId = in.u16le();
            in.skip(2);
            auto nameLength = in.u16le();
            auto addressLength = in.u16le();
            if (!trpId || !nameLength || !addressLength) return;
            std::optional<std::string> displayName, typed;
            if (auto b = in.take(*nameLength)) displayName = decodeText(*b, encoding);
            if (auto b = in.take(*addressLength)) typed = decodeText(*b, encoding);
            if (auto a = addressFromTypedString(displayName, typed, *trpId)) value_ = a;
            return;
        }
        case atpString:
        case atpText:
        case atpWord:
            if (auto s = decodeText(*record, encoding)) value_ = *s;
            return;
        case atpDate: {
            if (length_ < 14) return;
            ByteCursor in(*record);
            const int64_t year = in.u16le();
            const int64_t month = in.u16le();
            const int64_t day = in.u16le();
            const int64_t hour = in.u16le();
            const int64_t minute = in.u16le();
            const int64_t second = in.u16le();
            value_ = dateFromComponents(year, month, day, hour, minute, second);
            return;
        }
        case atpShort:
            if (auto v = ByteReader::u16le(*record, 0)) value_ = *v;
            return;
        case atpLong:
        case atpDword:
            if (auto v = ByteReader::u32le(*record, 0)) value_ = *v;
            return;
        case atpByte:
            value_ = *record;
            return;
        default:
            return;
    }
}

const char* tnefAttrTypeName(uint32_t type) {
    static constexpr std::array<const char*, 10> names = {
        "atpTriples", "atpString", "atpText", "atpDate",  "atpShort",
        "atpLong",    "atpByte",   "atpWord", "atpDword", "atpMax"};
    return type < names.size() ? names[type] : "unknow";
}

std::string tnefAttrName(uint32_t id, uint32_t type) {
    switch (id) {
        case 0x0000:
            return type == 0 ? "attNull" : type == 6 ? "attOwner" : "unknown";
        case 0x0001:
            return "attSentFor";
        case 0x0002:
            return "attDelegate";
        case 0x0006:
            return type == 7 ? "attOriginalMessageClass" : type == 3 ? "attDateStart" : "unknown";
        case 0x0007:
            return "attDateEnd";
        case 0x0008:
            return "attAidOwner";
        case 0x0009:
            return "attRequestRes";
        case 0x8000:
            return "attFrom";
        case 0x8004:
            return "attSubject";
        case 0x8005:
            return "attDateSent";
        case 0x8006:
            return "attDateRecd";
        case 0x8007:
            return "attMessageStatus";
        case 0x8008:
            return "attMessageClass";
        case 0x8009:
            return "attMessageID";
        case 0x800A:
            return "attParentID";
        case 0x800B:
            return "attConversationID";
        case 0x800C:
            return "attBody";
        case 0x800D:
            return "attPriority";
        case 0x800F:
            return "attAttachData";
        case 0x8010:
            return "attAttachTitle";
        case 0x8011:
            return "attAttachMetaFile";
        case 0x8012:
            return "attAttachCreateDate";
        case 0x8013:
            return "attAttachModifyDate";
        case 0x8020:
            return "attDateModified";
        case 0x9001:
            return "attAttachTransportFilename";
        case 0x9002:
            return "attAttachRenddata";
        case 0x9003:
            return "attMAPIProps";
        case 0x9004:
            return "attRecipTable";
        case 0x9005:
            return "attAttachment";
        case 0x9006:
            return "attTnefVersion";
        case 0x9007:
            return "attOemCodepage";
        default:
            return fmt::format("0x{:04X}", id);
    }
}

std::string TNEFAttr::nameString() const {
    return tnefAttrName(name_, type_);
}
std::string TNEFAttr::typeString() const {
    return tnefAttrTypeName(type_);
}

std::string describeTNEFAttrValue(const TNEFAttrValue& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return "(null)"; }
        std::string operator()(const std::string& s) const { return s; }
        std::string operator()(Date d) const { return formatRFC3339(d); }
        std::string operator()(uint16_t v) const { return std::to_string(v); }
        std::string operator()(uint32_t v) const { return std::to_string(v); }
        std::string operator()(const Bytes& b) const {
            return fmt::format("<NSData>{{length = {}}}", b.size());
        }
        std::string operator()(const std::shared_ptr<Address>& a) const { return a->description(); }
        std::string operator()(const TNEFAttachmentRendData& r) const { return r.description(); }
        std::string operator()(const MAPIPropList& props) const {
            return fmt::format("({} properties)", props.size());
        }
        std::string operator()(const RecipientRows& rows) const {
            return fmt::format("({} rows)", rows.size());
        }
    };
    return std::visit(Visitor{}, value);
}

std::string TNEFAttr::description() const {
    return fmt::format("<TNEFAttr: {}>{{name = {}, type = {}, value = {}}}", fmt::ptr(this),
                       nameString(), typeString(), describeTNEFAttrValue(value_));
}

}  // namespace qb
