// SPDX-License-Identifier: Apache-2.0
// What each MAPI property type is: its name, the bytes one value takes when the size is
// fixed, and whether a value carries its own length. The readers, the value decoder and the
// dump all ask this one table.
#pragma once

#include <cstdint>
#include <string_view>

namespace qb {

struct MAPITypeInfo {
    uint32_t type;
    std::string_view name;
    // Bytes of one value in a TNEF property stream or a .msg property entry; 0 for the types
    // whose values take no bytes and for the variable ones.
    uint32_t fixedSize;
    // The value carries a 32-bit length in a TNEF stream and lives in a stream of its own
    // in a .msg file.
    bool variable;
};

// The row of a base type (without the multi-value flag); null for a type MAPI does not know.
const MAPITypeInfo* mapiTypeInfo(uint32_t baseType);

inline bool isVariableMAPIType(uint32_t baseType) {
    const MAPITypeInfo* info = mapiTypeInfo(baseType);
    return info && info->variable;
}

// A TNEF property stream gives a value count before the values of multi-valued and
// variable-length properties.
bool hasValueCount(uint32_t type);

// "PT_SYSTIME"; "unknow" for types outside the table (the dump shows that text).
const char* propTypeName(uint32_t type);

}  // namespace qb
