// SPDX-License-Identifier: Apache-2.0
#include "support/ZipWriter.h"

#include "support/TNEFWriter.h"

namespace qb::test {

namespace {

// The CRC-32 ZIP uses (reflected 0xEDB88320, inverted before and after).
uint32_t zipCRC(const std::string& data) {
    uint32_t crc = 0xFFFFFFFF;
    for (unsigned char c : data) {
        crc ^= c;
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
    }
    return ~crc;
}

}  // namespace

std::string zipArchive(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string out, central;
    for (const auto& [name, data] : entries) {
        const uint32_t crc = zipCRC(data);
        const uint32_t offset = uint32_t(out.size());
        out += ByteWriter()
                   .u32(0x04034B50)
                   .u16(20)
                   .u16(0)
                   .u16(0)
                   .u16(0)
                   .u16(0)
                   .u32(crc)
                   .u32(uint32_t(data.size()))
                   .u32(uint32_t(data.size()))
                   .u16(uint16_t(name.size()))
                   .u16(0)
                   .raw(name)
                   .raw(data)
                   .str();
        central += ByteWriter()
                       .u32(0x02014B50)
                       .u16(20)
                       .u16(20)
                       .u16(0)
                       .u16(0)
                       .u16(0)
                       .u16(0)
                       .u32(crc)
                       .u32(uint32_t(data.size()))
                       .u32(uint32_t(data.size()))
                       .u16(uint16_t(name.size()))
                       .u16(0)
                       .u16(0)
                       .u16(0)
                       .u16(0)
                       .u32(0)
                       .u32(offset)
                       .raw(name)
                       .str();
    }
    const uint32_t centralOffset = uint32_t(out.size());
    out += central;
    out += ByteWriter()
               .u32(0x06054B50)
               .u16(0)
               .u16(0)
               .u16(uint16_t(entries.size()))
               .u16(uint16_t(entries.size()))
               .u32(uint32_t(central.size()))
               .u32(centralOffset)
               .u16(0)
               .str();
    return out;
}

}  // namespace qb::test
