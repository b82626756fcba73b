// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

namespace qb::test {

// Little-endian byte assembly.
class ByteWriter {
  public:
    ByteWriter& u8(uint8_t v);
    ByteWriter& u16(uint16_t v);
    ByteWriter& u32(uint32_t v);
    ByteWriter& u64(uint64_t v);
    ByteWriter& raw(std::string_view bytes);
    ByteWriter& raw(const std::vector<uint8_t>& bytes);
    ByteWriter& zeros(size_t n);
    // Zero bytes up to the next multiple of 4.
    ByteWriter& pad4();

    const std::string& str() const { return buf_; }
    size_t size() const { return buf_.size(); }
    Bytes bytes() const { return Bytes::fromString(buf_); }

  private:
    std::string buf_;
};

// UTF-8 -> UTF-16LE bytes, with or without a terminating NUL.
std::string utf16le(std::string_view utf8, bool terminate = true);

// Builds a MAPI property list as TNEF stores it (count, then each property).
class PropsWriter {
  public:
    PropsWriter& prop(uint16_t type, uint16_t id, std::string_view valueBytes);
    PropsWriter& u32(uint16_t id, uint32_t v) { return prop(0x0003, id, le32(v)); }
    PropsWriter& boolean(uint16_t id, bool v) { return prop(0x000B, id, le32(v ? 1 : 0)); }
    PropsWriter& systime(uint16_t id, uint64_t fileTime);
    // Variable-length values: a value count of 1, the length, the bytes, padding.
    PropsWriter& string8(uint16_t id, std::string_view text, bool terminate = true);
    PropsWriter& unicode(uint16_t id, std::string_view utf8);
    PropsWriter& binary(uint16_t id, std::string_view bytes, uint16_t type = 0x0102);
    // Multi-valued fixed-size values.
    PropsWriter& multiU32(uint16_t id, const std::vector<uint32_t>& values);
    // Named properties: GUID, kind 0 and a number, or kind 1 and a name.
    PropsWriter& namedNumber(uint16_t type, uint16_t id, std::string_view guid, uint32_t number,
                             std::string_view valueBytes);
    PropsWriter& namedString(uint16_t type, uint16_t id, std::string_view guid,
                             std::string_view name, std::string_view valueBytes);
    // Anything: appended to the property records as they are.
    PropsWriter& rawRecord(std::string_view bytes);
    // Overrides the count written in front.
    PropsWriter& count(uint32_t n);

    std::string str() const;

    static std::string le32(uint32_t v);
    static std::string counted(std::string_view bytes);  // count 1, length, bytes, padding

  private:
    std::string records_;
    uint32_t count_ = 0;
};

// Builds a TNEF stream: the signature, a key, then attribute records with checksums.
class TNEFWriter {
  public:
    TNEFWriter();

    TNEFWriter& attr(uint8_t level, uint16_t id, uint16_t type, std::string_view data);
    // A record whose stored checksum is off by one.
    TNEFWriter& corruptAttr(uint8_t level, uint16_t id, uint16_t type, std::string_view data);
    TNEFWriter& raw(std::string_view bytes);

    // Common records.
    TNEFWriter& version();                           // attTnefVersion 0x00010000
    TNEFWriter& oemCodepage(uint32_t codePage);      // attOemCodepage
    TNEFWriter& messageClass(std::string_view cls);  // attMessageClass (atpWord)
    TNEFWriter& subject(std::string_view text);      // attSubject
    TNEFWriter& date(uint16_t id, int y, int mo, int d, int h, int mi, int s);
    TNEFWriter& mapiProps(const PropsWriter& props);               // attMAPIProps
    TNEFWriter& recipients(const std::vector<PropsWriter>& rows);  // attRecipTable
    // An attachment group: attAttachRenddata, then optional title, data and properties.
    TNEFWriter& attachment(std::string_view title, std::string_view data,
                           const PropsWriter* props = nullptr);

    std::string str() const { return buf_; }
    Bytes bytes() const { return Bytes::fromString(buf_); }

  private:
    std::string buf_;
};

}  // namespace qb::test

namespace qb {
class TNEFMessage;
struct TNEFError;
}  // namespace qb

namespace qb::test {

// Reads TNEF bytes the way the library's default does (checksums ignored unless asked).
std::shared_ptr<TNEFMessage> readTNEF(const std::string& bytes, bool ignoreChecksum = true,
                                      TNEFError* error = nullptr);
// A message whose attMAPIProps holds `props`.
std::shared_ptr<TNEFMessage> messageWithProps(const PropsWriter& props);

}  // namespace qb::test
