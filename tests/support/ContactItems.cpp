// SPDX-License-Identifier: Apache-2.0
#include "support/ContactItems.h"

#include "model/NamedProperties.h"

namespace qb::test {

namespace {

std::string addressSet() {
    const auto& b = PSETID_Address.bytes();
    return std::string(b.begin(), b.end());
}

}  // namespace

PropsWriter& addressString(PropsWriter& props, uint16_t storedId, uint32_t lid,
                           std::string_view text) {
    std::string bytes(text);
    bytes.push_back('\0');
    return props.namedNumber(0x001E, storedId, addressSet(), lid, PropsWriter::counted(bytes));
}

std::string oneOffMembersRecord(const std::vector<std::string>& entryIDs, uint16_t storedId) {
    ByteWriter w;
    w.u16(0x1102).u16(storedId).raw(addressSet()).u32(0).u32(0x8054);
    w.u32(uint32_t(entryIDs.size()));
    for (const auto& id : entryIDs)
        w.u32(uint32_t(id.size())).raw(id).pad4();
    return w.str();
}

}  // namespace qb::test
