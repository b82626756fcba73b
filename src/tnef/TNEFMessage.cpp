#include "tnef/TNEFMessage.h"

#include <fmt/format.h>

#include "model/CodePage.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/ByteReader.h"
#include "platform/Log.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFChecksum.h"

namespace qb {

namespace {

constexpr uint32_t kSignature = 0x223E9F78;
constexpr size_t kEmbeddedProbeLength = 24;
constexpr size_t kEmbeddedMinimumLength = 44;
// What records are read in until the stream says otherwise.
constexpr StringEncoding kUnlabelledEncoding = kWindowsCP1252Encoding;

// Finds a TNEF stream inside other data: the signature followed by an attTnefVersion record
// of value 0x00010000. Returns where its first record starts.
std::optional<size_t> findEmbeddedStream(const Bytes& data) {
    if (data.size() < kEmbeddedProbeLength) return std::nullopt;
    const uint8_t* p = data.data();
    for (size_t i = 0; i <= data.size() - kEmbeddedProbeLength; ++i) {
        if (p[i] != 0x78) continue;  // first byte of the signature: a cheap filter
        if (*ByteReader::u32le(data, i) != kSignature || p[i + 6] != 1 ||
            *ByteReader::u32le(data, i + 7) != 0x00089006 ||
            *ByteReader::u32le(data, i + 11) != 4 || *ByteReader::u32le(data, i + 15) != 0x00010000)
            continue;
        if (data.size() <= i + kEmbeddedMinimumLength) return std::nullopt;
        return i + 6;
    }
    return std::nullopt;
}

}  // namespace

TNEFMessage::TNEFMessage(Bytes data, const Dictionary* mimeMessageHeaders, bool ignoreChecksum,
                         int depth, std::shared_ptr<ReadReport> report)
    : OutlookMessage(report ? std::move(report) : std::make_shared<ReadReport>(data.size())),
      data_(std::move(data)),
      ignoreChecksum_(ignoreChecksum),
      depth_(depth),
      encoding_(kUnlabelledEncoding) {
    if (mimeMessageHeaders) mimeMessageHeaders_ = *mimeMessageHeaders;
}

std::shared_ptr<const TNEFMessage> TNEFMessage::self() const {
    return std::static_pointer_cast<const TNEFMessage>(shared_from_this());
}

std::shared_ptr<TNEFMessage> TNEFMessage::create(Bytes data, const Dictionary* mimeMessageHeaders,
                                                 bool ignoreChecksum, TNEFError* error) {
    auto message =
        std::make_shared<TNEFMessage>(std::move(data), mimeMessageHeaders, ignoreChecksum, 0);
    if (!message->read(error)) return nullptr;
    return message;
}

std::shared_ptr<OutlookMessage> TNEFMessage::openEmbeddedMessage(const Bytes& data) const {
    if (depth_ + 1 > kMaxDepth) {
        logf("Embedded message nested deeper than {} levels not opened", kMaxDepth);
        report()->warn(
            fmt::format("embedded message nested deeper than {} levels not read", kMaxDepth));
        return nullptr;
    }
    auto nested = std::make_shared<TNEFMessage>(data, nullptr, true, depth_ + 1, report());
    if (!nested->read(nullptr)) return nullptr;
    return nested;
}

bool TNEFMessage::read(TNEFError* error) {
    if (data_.empty()) {
        if (error) *error = makeTNEFError(kTNEFErrorEmpty);
        return false;
    }
    size_t location;
    if (ByteReader::u32le(data_, 0) == kSignature) {
        location = 6;
    } else if (auto start = findEmbeddedStream(data_)) {
        location = *start;
    } else {
        if (error) *error = makeTNEFError(kTNEFErrorUnrecognized);
        return false;
    }

    std::optional<TNEFAttrList> group;
    auto closeGroup = [&] {
        if (group)
            attachments_.push_back(std::make_shared<TNEFAttachment>(std::move(*group), self()));
        group.reset();
    };
    while (auto attr = readTNEFAttr(location, error)) {
        if (attr->level() == 1) {
            if (attr->name() == attOemCodepage) {
                // Until the property list says otherwise, the records that follow use it.
                if (auto b = std::get_if<Bytes>(&attr->value()); b && b->size() >= 2) {
                    oemCodePage_ = *ByteReader::u16le(*b, 0);
                    if (auto cp = codePageFor8BitText(*oemCodePage_)) {
                        const StringEncoding e = encodingForWindowsCodePage(*cp);
                        if (e != kInvalidEncoding) encoding_ = e;
                    }
                }
            }
            attributes_.push_back(std::move(attr));
        } else {
            if (attr->name() == attAttachRenddata) {
                closeGroup();
                group.emplace();
            }
            // Attachment records before the first attAttachRenddata belong to no group.
            if (group) group->push_back(std::move(attr));
        }
    }
    closeGroup();

    if (auto attr = findTNEFAttr(attributes_, attMAPIProps, atpByte))
        if (auto props = std::get_if<MAPIPropList>(&attr->value())) mapiprops_ = *props;
    // Records were decoded as they came, some perhaps before attOemCodepage: unless all of
    // them used the code page finally chosen, they are decoded again.
    const StringEncoding readWith = encoding_;
    processEncoding(mapiprops());
    if (encoding_ != kUnlabelledEncoding || readWith != kUnlabelledEncoding) {
        for (const auto& attr : attributes_)
            attr->decodeTextAgain();
        for (const auto& attachment : attachments_)
            for (const auto& attr : attachment->attributes())
                attr->decodeTextAgain();
    }
    parseMessageHeaders();
    parseMimeMessageHeaders();
    return true;
}

std::shared_ptr<TNEFAttr> TNEFMessage::readTNEFAttr(size_t& location, TNEFError* error) {
    if (location >= data_.size()) return nullptr;
    const uint8_t level = data_[location];
    // Reading stops at the first record that cannot be read; the input is then read in part.
    if (level != 1 && level != 2) {
        logf("Invalid TNEF level type: {}", static_cast<char>(level));
        const size_t left = data_.size() - location;
        report()->warn(fmt::format("reading stopped at a record of unknown level 0x{:02X}; {} not "
                                   "read",
                                   level,
                                   left == 1 ? std::string("the last byte was")
                                             : fmt::format("the last {} bytes were", left)),
                       location);
        return nullptr;
    }
    auto tag = ByteReader::u32le(data_, location + 1);
    auto length = ByteReader::u32le(data_, location + 5);
    if (!tag || !length || uint64_t(location) + 9 + *length > data_.size()) {
        if (error) *error = makeTNEFError(kTNEFErrorTruncated);
        report()->warn("reading stopped at a record that runs past the end of the data", location);
        return nullptr;
    }
    const size_t recordStart = location;
    const size_t dataStart = location + 9;
    const auto stored = ByteReader::u16le(data_, dataStart + *length);
    location = dataStart + *length + 2;
    if (!stored) report()->warn("the data ends inside a record's checksum", recordStart);
    if (!ignoreChecksum_) {
        // A checksum cut off by the end of the data counts as a mismatch.
        if (!stored || *stored != calculateChecksum(data_.data() + dataStart, *length)) {
            report()->warn("reading stopped at a record whose checksum does not match",
                           recordStart);
            return nullptr;
        }
    }
    return std::make_shared<TNEFAttr>(self(), data_, dataStart, level, *tag >> 16, *tag & 0xFFFF,
                                      *length);
}

void TNEFMessage::processEncoding(const MAPIPropList* props) {
    encoding_ = encodingOf8BitStrings(props, oemCodePage_);
}

}  // namespace qb
