// SPDX-License-Identifier: Apache-2.0
// The property-stream headers of each storage kind, substorage names decoded to property tags,
// the named-property map, and transport headers overriding the recipient rows' addresses.
#include "OXMSG/OXMessage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <unordered_map>

#include "OXMSG/cfb/CFBEntry.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "model/CodePage.h"
#include "model/MAPIArray.h"
#include "model/MAPITypes.h"
#include "model/PropertyTags.h"
#include "model/Recipients.h"
#include "platform/AsciiCase.h"
#include "platform/ByteReader.h"
#include "platform/ContainerSignatures.h"
#include "platform/HexDigits.h"
#include "platform/Log.h"

namespace qb {

namespace {

using namespace msgnames;

// The fixed GUID of named-property indices 0 to 2, as the bytes are written.
constexpr uint8_t kFixedGUID[16] = {0x00, 0x02, 0x03, 0x29, 0x00, 0x00, 0x00, 0x00,
                                    0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};

std::optional<uint32_t> hex4(std::string_view s) {
    if (s.size() != 4) return std::nullopt;
    uint32_t v = 0;
    for (char c : s) {
        const int d = hexDigitValue(c);
        if (d < 0) return std::nullopt;
        v = v << 4 | uint32_t(d);
    }
    return v;
}

// The header of a property stream: 8 reserved bytes for a recipient or an attachment, 24
// for an embedded message, 32 for the top-level one (its last 8 reserved as well).
constexpr Field kHeaderReserved1{0, 4};
constexpr Field kHeaderReserved2{4, 4};
constexpr Field kNextRecipientId{8, 4};
constexpr Field kNextAttachmentId{12, 4};
constexpr Field kRecipientCount{16, 4};
constexpr Field kAttachmentCount{20, 4};
constexpr Field kHeaderReserved3{24, 4};
constexpr Field kHeaderReserved4{28, 4};

// A property entry of the fixed-size property stream: 16 bytes after the header.
constexpr size_t kEntrySize = 16;
constexpr Field kEntryType{0, 2};
constexpr Field kEntryId{2, 2};
constexpr Field kEntryValue{8, 8};  // a fixed-size value, or what another stream holds
// An entry of the named-property entry stream.
constexpr size_t kNameEntrySize = 8;
constexpr size_t kGUIDSize = 16;

}  // namespace

std::shared_ptr<OXMessage> OXMessage::create(Bytes data, bool ignoreChecksum, ReadError* why) {
    ReadError failure{kOXMessageErrorDomain, kOXMessageErrorUnreadable, {}, std::nullopt};
    auto message = [&]() -> std::shared_ptr<OXMessage> {
        auto root = CFBEntry::create(std::move(data), nullptr, &failure);
        if (!root) return nullptr;
        auto m = std::make_shared<OXMessage>(ignoreChecksum, 0, std::make_shared<OpenedStorages>(),
                                             root->storage().io().report());
        if (!m->open(std::move(root), &failure)) return nullptr;
        return m;
    }();
    if (!message && why) *why = std::move(failure);
    return message;
}

std::shared_ptr<OXMessage> OXMessage::create(std::shared_ptr<CFBEntry> entry, bool ignoreChecksum,
                                             int depth) {
    if (!entry || depth > kMaxDepth) return nullptr;
    auto report = entry->storage().io().report();
    auto message = std::make_shared<OXMessage>(ignoreChecksum, depth,
                                               std::make_shared<OpenedStorages>(), report);
    if (!message->open(std::move(entry))) return nullptr;
    return message;
}

bool OXMessage::holdsMessageProperties(const CFBEntry& storage) {
    // A damaged message may have lost its fixed-size property stream, not all of them.
    const auto& children = storage.entries();
    return std::any_of(children.begin(), children.end(), [](const auto& child) {
        return child->isDocumentEntry() &&
               (child->name() == kPropertiesStream || child->name().starts_with(kSubstgPrefix));
    });
}

bool OXMessage::open(std::shared_ptr<CFBEntry> entry, ReadError* why) {
    opened_->insert(entry->dirEntry());
    if (!holdsMessageProperties(*entry)) {
        if (why) why->description = "The file \"%@\" is not an Outlook message.";
        return false;
    }
    auto properties = processProperties(*entry, nullptr, why);
    if (!properties) return false;
    if (properties->isRootMessage) translateNames(properties->props, processNameIDs(*entry));
    root_ = std::move(entry);
    processEncoding(properties->props);
    props_ = std::move(properties->props);
    attachments_ = processAttachments(*root_);
    parseMessageHeaders();
    mergeMimeMessageHeaders();
    return true;
}

std::optional<OXMessage::QBProperties> OXMessage::processProperties(const CFBEntry& storage,
                                                                    const NameMap* names,
                                                                    ReadError* why) const {
    QBProperties result;
    auto streamEntry = storage.entry(std::string(kPropertiesStream));
    const Bytes stream = streamEntry ? streamEntry->data().value_or(Bytes()) : Bytes();
    // The log line the reader has always written, and the same text as the reason.
    auto fail = [&](const char* text) -> std::optional<QBProperties> {
        log(text);
        if (why) {
            why->description = text;
            why->offset = streamEntry ? streamEntry->fileOffset() : std::nullopt;
        }
        return std::nullopt;
    };

    // The header is the run of leading words whose upper half is zero: a property entry
    // starts with a tag whose upper half (the property id) never is.
    size_t words = 0;
    while (words < 8) {
        auto w = ByteReader::u32le(stream, words * 4);
        if (!w || (*w >> 16) != 0) break;
        ++words;
    }
    const size_t n = words * 4;
    auto word = [&](Field f) { return uint32_t(ByteReader::uintLE(stream, f).value_or(0)); };
    size_t headerSize = 0;
    if (n == 0) {
        headerSize = 0;
    } else if (n < 8) {
        return fail("Unknown header format (headerSize < 8)");
    } else if (word(kHeaderReserved1) != 0 || word(kHeaderReserved2) != 0) {
        return fail("Unknown header format ");
    } else if (n == 8) {
        headerSize = 8;
    } else if (n < 24) {
        return fail("Unknown header format (headerSize < 24)");
    } else {
        result.recipientCount = word(kNextRecipientId);
        result.attachmentCount = word(kNextAttachmentId);
        if (!ignoreChecksum_ && (word(kRecipientCount) != result.recipientCount ||
                                 word(kAttachmentCount) != result.attachmentCount)) {
            return fail("header check failed");
        }
        if (n == 24) {
            headerSize = 24;
        } else if (n < 32) {
            return fail("Unknown header format (headerSize < 32)");
        } else if (n == 32) {
            if (word(kHeaderReserved3) == 0 && word(kHeaderReserved4) == 0)
                result.isRootMessage = true;
            headerSize = 32;
        } else {
            return fail("Unknown header format (headerSize > 32)");
        }
    }
    result.props = processPropertyList(stream, headerSize,
                                       streamEntry ? streamEntry->fileOffset() : std::nullopt);
    MAPIPropList variable = processPropEntries(storage);
    result.props.insert(result.props.end(), variable.begin(), variable.end());
    if (names) translateNames(result.props, *names);
    return result;
}

MAPIPropList OXMessage::processPropertyList(const Bytes& stream, size_t headerSize,
                                            std::optional<uint64_t> streamOffset) const {
    MAPIPropList props;
    if (stream.size() <= headerSize) return props;
    auto me = self();
    for (size_t offset = headerSize; offset < stream.size();) {
        auto rawType = ByteReader::uintLE(stream, kEntryType, offset);
        auto id = ByteReader::uintLE(stream, kEntryId, offset);
        if (!rawType || !id) break;
        const uint32_t type = uint32_t(*rawType) & ~MV_FLAG;
        // Entries the reader cannot place move on by half an entry only.
        size_t valueSize = 0, advance = kEntrySize;
        if (const MAPITypeInfo* info = mapiTypeInfo(type); !info) {
            logf("Unknown MAPI type: 0x{:X}", type);
            report()->warn(fmt::format("property entry at byte {} of a property stream has the "
                                       "unknown type 0x{:X}; its value is left out",
                                       offset, type),
                           streamOffset);
            advance = kEntrySize / 2;
        } else if (type == PT_NULL) {
            advance = kEntrySize / 2;
        } else if (info->fixedSize == 4 || info->fixedSize == 8) {
            valueSize = info->fixedSize;
        }
        // Variable-length values and CLSIDs live in streams of their own.
        if (valueSize) {
            if (auto value = ByteReader::field(stream, {kEntryValue.offset, valueSize}, offset)) {
                auto v = MAPIValue::create(*value, type, uint32_t(*id), me);
                props.push_back(
                    std::make_shared<MAPIProp>(std::vector{v}, type, uint32_t(*id), nullptr));
            }
        }
        offset += advance;
    }
    return props;
}

std::shared_ptr<MAPIProp> OXMessage::processProperty(const CFBEntry& stream) const {
    const std::string name = stream.name();
    if (name.size() < 20 || !name.starts_with(kSubstgPrefix)) return nullptr;
    auto id = hex4(std::string_view(name).substr(12, 4));
    auto type = hex4(std::string_view(name).substr(16, 4));
    if (!id || !type || stream.length() == 0) return nullptr;
    auto data = stream.data();
    if (!data) return nullptr;
    const uint32_t base = *type & ~MV_FLAG;
    auto value = MAPIValue::create(*data, base, *id, self());
    return std::make_shared<MAPIProp>(std::move(value), base, *id, nullptr);
}

MAPIPropList OXMessage::processPropEntries(const CFBEntry& storage) const {
    MAPIPropList props;
    // A property has one type; a second stream for the same id under another type means the
    // file contradicts itself. Both values are kept, and the reader says so.
    std::unordered_map<uint32_t, uint32_t> typeOfId;
    for (const auto& child : storage.entries()) {
        if (!child->isDocumentEntry() || !child->name().starts_with(kSubstgPrefix)) continue;
        auto p = processProperty(*child);
        if (!p) continue;
        const auto [seen, first] = typeOfId.emplace(p->name(), p->type());
        if (!first && seen->second != p->type())
            report()->warn(
                fmt::format("property 0x{:04X} is stored twice, as {} and as {}", p->name(),
                            propTypeName(seen->second), propTypeName(p->type())),
                child->fileOffset());
        props.push_back(std::move(p));
    }
    return props;
}

OXMessage::NameMap OXMessage::processNameIDs(const CFBEntry& root) const {
    NameMap names;
    auto storage = root.entry(std::string(kNameIdStorage));
    if (!storage) return names;
    auto streamData = [&](std::string_view name) {
        auto e = storage->entry(std::string(name));
        return e ? e->data().value_or(Bytes()) : Bytes();
    };
    const Bytes guidStream = streamData(kNameIdGUIDStream);
    const Bytes entryStream = streamData(kNameIdEntryStream);
    const Bytes stringStream = streamData(kNameIdStringStream);

    const Bytes fixed = Bytes::copy(kFixedGUID, sizeof kFixedGUID);
    std::vector<Bytes> guids(3, fixed);  // indices 0 to 2 all name the same set
    ByteReader guidRecords(guidStream);
    while (auto g = guidRecords.take(kGUIDSize))
        guids.push_back(*g);

    ByteReader entries(entryStream);
    while (auto entry = entries.take(kNameEntrySize)) {
        ByteCursor in(*entry);
        const uint32_t nameOrOffset = in.u32le();
        const uint16_t indexAndKind = in.u16le();
        const uint16_t propertyIndex = in.u16le();
        const uint32_t propID = 0x8000u + propertyIndex;
        const size_t guidIndex = indexAndKind >> 1;
        std::optional<Bytes> guid;
        if (guidIndex < guids.size()) guid = guids[guidIndex];
        if ((indexAndKind & 1) == 0) {
            names[propID] = std::make_shared<MAPIPropName>(guid, nameOrOffset, std::nullopt);
            continue;
        }
        // A string name: at the offset in the string stream, its length in bytes, then
        // UTF-16LE text.
        std::optional<std::string> name;
        ByteReader strings(stringStream);
        if (strings.skip(nameOrOffset)) {
            if (auto length = strings.u32le()) {
                if (auto raw = strings.take(*length))
                    name = utf16leToUTF8(raw->withoutTrailingWideNULs().span());
            }
        }
        names[propID] = std::make_shared<MAPIPropName>(guid, propID, name);
    }
    return names;
}

void OXMessage::translateNames(const MAPIPropList& props, const NameMap& names) {
    for (const auto& p : props)
        if (auto it = names.find(p->name()); it != names.end()) p->setPropName(it->second);
}

std::vector<MAPIPropList> OXMessage::processRecipients(const CFBEntry& root) const {
    std::vector<MAPIPropList> rows;
    for (const auto& child : root.entries()) {
        if (!child->name().starts_with(kRecipPrefix)) continue;
        if (auto p = processProperties(*child, nullptr)) rows.push_back(std::move(p->props));
    }
    return rows;
}

AttachmentList OXMessage::processAttachments(const CFBEntry& root) const {
    AttachmentList list;
    for (const auto& child : root.entries()) {
        if (!child->name().starts_with(kAttachPrefix)) continue;
        auto properties = processProperties(*child, nullptr);
        if (!properties) continue;
        std::shared_ptr<OutlookMessage> nested;
        if (auto embedded = child->entry(std::string(kEmbeddedMessage))) {
            if (depth_ + 1 > kMaxDepth) {
                logf("Embedded message nested deeper than {} levels not opened", kMaxDepth);
                report()->warn(
                    fmt::format("embedded message {} nested deeper than {} levels not read",
                                embedded->path(), kMaxDepth));
            } else if (!opened_->contains(embedded->dirEntry())) {
                auto message =
                    std::make_shared<OXMessage>(ignoreChecksum_, depth_ + 1, opened_, report());
                if (message->open(embedded)) nested = std::move(message);
            }
            // A storage that is no message is an embedded OLE object: it becomes the
            // attachment's PR_ATTACH_DATA_OBJ, as TNEF gives it.
            if (!nested && embedded->isDirectoryEntry()) {
                auto value =
                    MAPIValue::create(Bytes(), PT_OBJECT, propId(PR_ATTACH_DATA_OBJ), self());
                value->presetValue(embedded);
                properties->props.push_back(std::make_shared<MAPIProp>(
                    std::move(value), PT_OBJECT, propId(PR_ATTACH_DATA_OBJ), nullptr));
            }
        }
        list.push_back(std::make_shared<TNEFAttachment>(std::move(properties->props),
                                                        std::move(nested), self()));
    }
    return list;
}

void OXMessage::processEncoding(const MAPIPropList& props) {
    encoding_ = encodingOf8BitStrings(&props);
}

void OXMessage::parseMessageHeaders() {
    const MAPIPropList* props = &props_;
    messageClass_ = stringForProperty(props, PR_MESSAGE_CLASS);
    subject_ = stringForProperty(props, PR_SUBJECT);
    if (auto address = stringForProperty(props, PR_SENDER_EMAIL_ADDRESS))
        sender_ = std::make_shared<Address>(stringForProperty(props, PR_SENDER_NAME), address,
                                            stringForProperty(props, PR_SENDER_ADDRTYPE));
    if (sender_)
        fillSmtpAddress(*sender_, props,
                        {PR_SENDER_SMTP_ADDRESS, PR_SENT_REPRESENTING_SMTP_ADDRESS},
                        PR_SENDER_ENTRYID);
    for (const auto& row : processRecipients(*root_))
        addRecipient(row, to_, cc_, bcc_);
    if (sender_) fillSmtpAddressFromRecipients(*sender_, {&to_, &cc_, &bcc_});
}

void OXMessage::mergeMimeMessageHeaders() {
    auto text = stringForProperty(&props_, PR_TRANSPORT_MESSAGE_HEADERS);
    if (!text) return;
    const MKMessageHeaders headers(*text);
    // A bare address in the headers keeps the name the recipient rows give that address.
    AddressList known = to_;
    known.insert(known.end(), cc_.begin(), cc_.end());
    known.insert(known.end(), bcc_.begin(), bcc_.end());
    if (sender_) known.push_back(sender_);
    auto knownName = [&](const std::string& address) -> std::optional<std::string> {
        for (const auto& a : known) {
            auto smtp = a->smtpAddress();
            if (smtp && equalsIgnoringASCIICase(*smtp, address) && a->displayName() &&
                !a->displayName()->empty())
                return a->displayName();
        }
        return std::nullopt;
    };
    auto toAddress = [&](const MKEmailAddress& m) {
        std::optional<std::string> name = m.displayName();
        const std::string address = m.userAtDomain().value_or("");
        if (!m.addressComment() || m.addressComment()->empty())
            if (auto kept = knownName(address)) name = kept;
        return std::make_shared<Address>(name, m.userAtDomain(), std::string("SMTP"));
    };
    // Only mailboxes with an address count: a bare name ("From: \"alec milton\"") does
    // not replace what the properties say.
    auto mailboxes = [&](const char* key) {
        std::vector<MKEmailAddress> valid;
        if (auto found = headers.addressListForKey(key))
            for (const auto& m : *found)
                if (m.isValid()) valid.push_back(m);
        return valid;
    };
    if (auto from = mailboxes("From"); !from.empty()) sender_ = toAddress(from.front());
    for (auto [key, list] :
         {std::pair{"To", &to_}, std::pair{"Cc", &cc_}, std::pair{"Bcc", &bcc_}}) {
        auto found = mailboxes(key);
        if (found.empty()) continue;
        list->clear();
        for (const auto& m : found)
            list->push_back(toAddress(m));
    }
}

}  // namespace qb
