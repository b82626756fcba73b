// SPDX-License-Identifier: Apache-2.0
// GUIDs in registry form and the description the dump command prints.
#include "model/MAPIPropName.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "platform/ByteReader.h"

namespace qb {

std::string formatGUID(const Bytes& g) {
    if (g.size() != 16) return fmt::format("<{} bytes>", g.size());
    // The first three fields are numbers stored little-endian; the last eight bytes are bytes.
    ByteCursor in(g);
    const uint32_t data1 = in.u32le();
    const uint16_t data2 = in.u16le();
    const uint16_t data3 = in.u16le();
    const Bytes data4 = in.take(8);
    return fmt::format("{{{:08X}-{:04X}-{:04X}-{:02X}-{:02X}}}", data1, data2, data3,
                       fmt::join(data4.slice(0, 2).span(), ""),
                       fmt::join(data4.slice(2).span(), ""));
}

std::string MAPIPropName::description() const {
    std::string out = "{GUID = ";
    out += guid_ ? formatGUID(*guid_) : "(null)";
    out += fmt::format(", propID = 0x{:04X}", propID_);
    if (name_) out += ", name = " + *name_;
    out += "}";
    return out;
}

}  // namespace qb
