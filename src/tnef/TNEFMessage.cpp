// SPDX-License-Identifier: Apache-2.0
// The record loop: a stream found inside other data, attachment groups split at their
// rendering record, and records decoded again once the code page is known.
#include "tnef/TNEFMessage.h"

#include <fmt/format.h>

#include "model/CodePage.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/ByteReader.h"
#include "platform/ContainerSignatures.h"
#include "platform/Log.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFChecksum.h"

namespace qb {

namespace {

// The stream starts with the signature and a 16-bit key; the records follow.
constexpr size_t kStreamHeaderSize = 6;

// A record: level, tag (id in the low half, type in the high), data length, the data, then
// a 16-bit checksum of the data.
constexpr size_t kRecordHeaderSize = 9;

// What findEmbeddedStream looks for: the stream header and a first record that is
// attTnefVersion holding 0x00010000, as every writer puts it first.
constexpr Field kProbeSignature{0, 4};
constexpr Field kProbeLevel{6, 1};
constexpr Field kProbeTag{7, 4};
constexpr Field kProbeLength{11, 4};
constexpr Field kProbeVersion{15, 4};
constexpr uint32_t kVersionTag = uint32_t(atpDword) << 16 | attTnefVersion;
constexpr size_t kEmbeddedProbeLength = 24;
constexpr size_t kEmbeddedMinimumLength = 44;
// What records are read in until the stream says otherwise.
constexpr StringEncoding kUnlabelledEncoding = kWindowsCP1252Encoding;

// Finds a TNEF stream inside other data. Returns where its first record starts.
std::optional<size_t> findEmbeddedStream(const Bytes& data) {
    if (data.size() < kEmbeddedProbeLength) return std::nullopt;
    const std::string_view text = data.view();
    const size_t last = data.size() - kEmbeddedProbeLength;
    // The first byte of the signature is a cheap filter.
    for (size_t i = text.find('\x78'); i <= last; i = text.find('\x78', i + 1)) {
        if (ByteReader::uintLE(data, kProbeSignature, i) != kTNEFSignature ||
            ByteReader::uintLE(data, kProbeLevel, i) != 1u ||
            ByteReader::uintLE(data, kProbeTag, i) != kVersionTag ||
            ByteReader::uintLE(data, kProbeLength, i) != 4u ||
            ByteReader::uintLE(data, kProbeVersion, i) != 0x00010000u)
            continue;
        if (data.size() <= i + kEmbeddedMinimumLength) return std::nullopt;
        return i + kStreamHeaderSize;
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
    if (ByteReader::u32le(data_, 0) == kTNEFSignature) {
        location = kStreamHeaderSize;
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
    ByteCursor record(data_, location);
    const uint8_t level = record.u8();
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
    const uint32_t tag = record.u32le();
    const uint32_t length = record.u32le();
    if (!record.ok() || length > record.remaining()) {
        if (error) *error = makeTNEFError(kTNEFErrorTruncated);
        report()->warn("reading stopped at a record that runs past the end of the data", location);
        return nullptr;
    }
    const size_t recordStart = location;
    const size_t dataStart = location + kRecordHeaderSize;
    const Bytes body = record.take(length);
    const uint16_t stored = record.u16le();
    const bool checksumRead = record.ok();
    location = dataStart + length + 2;
    if (!checksumRead) report()->warn("the data ends inside a record's checksum", recordStart);
    if (!ignoreChecksum_) {
        // A checksum cut off by the end of the data counts as a mismatch.
        if (!checksumRead || stored != calculateChecksum(body.span())) {
            report()->warn("reading stopped at a record whose checksum does not match",
                           recordStart);
            return nullptr;
        }
    }
    return std::make_shared<TNEFAttr>(self(), data_, dataStart, level, tag >> 16, tag & 0xFFFF,
                                      length);
}

void TNEFMessage::processEncoding(const MAPIPropList* props) {
    encoding_ = encodingOf8BitStrings(props, oemCodePage_);
}

}  // namespace qb
