// SPDX-License-Identifier: Apache-2.0
// Property records of contacts and distribution lists for TNEF items built in tests: their
// named properties carry the address property set and their number.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/TNEFWriter.h"

namespace qb::test {

// An 8-bit string named (PSETID_Address, lid), stored under `storedId` (0x8000 or above).
PropsWriter& addressString(PropsWriter& props, uint16_t storedId, uint32_t lid,
                           std::string_view text);

// The record of a list's one-off member entry ids, (PSETID_Address, 0x8054), multi-valued
// binary, stored under `storedId`; append it with PropsWriter::rawRecord.
std::string oneOffMembersRecord(const std::vector<std::string>& entryIDs,
                                uint16_t storedId = 0x8005);

}  // namespace qb::test
