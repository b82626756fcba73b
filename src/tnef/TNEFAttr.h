// SPDX-License-Identifier: Apache-2.0
// One record of a TNEF stream, decoded by type; the TNEF reader makes them, and the dump
// command and attribute lookups read them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "model/Address.h"
#include "model/MAPIProp.h"
#include "platform/Bytes.h"
#include "platform/Date.h"
#include "platform/Export.h"
#include "tnef/TNEFAttachmentRendData.h"

namespace qb {

class TNEFMessage;

/// Attribute types (high half of a TNEF attribute tag).
enum TNEFAttrType : uint32_t {
    atpTriples = 0,
    atpString = 1,
    atpText = 2,
    atpDate = 3,
    atpShort = 4,
    atpLong = 5,
    atpByte = 6,
    atpWord = 7,
    atpDword = 8,
    atpMax = 9,
};

/// Attribute ids (low half of a tag) the readers look for.
enum TNEFAttrId : uint32_t {
    attOwner = 0x0000,
    attSentFor = 0x0001,
    attFrom = 0x8000,
    attSubject = 0x8004,
    attDateSent = 0x8005,
    attMessageClass = 0x8008,
    attBody = 0x800C,
    attAttachData = 0x800F,
    attAttachTitle = 0x8010,
    attAttachTransportFilename = 0x9001,
    attAttachRenddata = 0x9002,
    attMAPIProps = 0x9003,
    attRecipTable = 0x9004,
    attAttachment = 0x9005,
    attTnefVersion = 0x9006,
    attOemCodepage = 0x9007,
};

using RecipientRows = std::vector<MAPIPropList>;
using TNEFAttrValue =
    std::variant<std::monostate, std::string, Date, uint16_t, uint32_t, Bytes,
                 std::shared_ptr<Address>, TNEFAttachmentRendData, MAPIPropList, RecipientRows>;

/// One attribute record of a TNEF stream, its value decoded when it is read.
class QB_API TNEFAttr {
  public:
    /// Decodes the record whose data is [location, location + length) of `data`, with the
    /// message's encoding as it stands now.
    TNEFAttr(const std::shared_ptr<const TNEFMessage>& message, const Bytes& data, size_t location,
             int32_t level, uint32_t type, uint32_t name, uint32_t length);

    std::shared_ptr<const TNEFMessage> message() const { return message_.lock(); }
    int32_t level() const { return level_; }
    uint32_t type() const { return type_; }
    uint32_t name() const { return name_; }
    uint32_t length() const { return length_; }
    size_t dataOffset() const { return location_; }
    /// The record's data bytes (a window onto the stream).
    Bytes rawData() const { return data_.slice(location_, length_); }
    const TNEFAttrValue& value() const { return value_; }

    /// Decodes a text-bearing record again with the message's encoding as it stands now: the
    /// code page of a stream's strings is only known once its property list has been read.
    void decodeTextAgain();

    std::string nameString() const;
    std::string typeString() const;
    /// "<TNEFAttr: 0x…>{name = attSubject, type = atpString, value = Hello}"
    std::string description() const;

  private:
    void decode(const std::shared_ptr<const TNEFMessage>& message);

    std::weak_ptr<const TNEFMessage> message_;
    Bytes data_;
    size_t location_;
    int32_t level_;
    uint32_t type_;
    uint32_t name_;
    uint32_t length_;
    TNEFAttrValue value_;
};

QB_API const char* tnefAttrTypeName(uint32_t type);
QB_API std::string tnefAttrName(uint32_t id, uint32_t type);

/// Short text for an attribute value, as descriptions print it.
QB_API std::string describeTNEFAttrValue(const TNEFAttrValue& value);

}  // namespace qb
