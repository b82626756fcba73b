// SPDX-License-Identifier: Apache-2.0
// Readable names of property tags, for the descriptions and the dump command only; nothing
// reads a message by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qb {

// The property-name table: 808 (tag, name) rows, searched from the first; the first match
// wins. Only descriptions use it.
std::optional<std::string_view> nameForPropertyTag(uint32_t tag);

size_t propertyNameTableSize();
std::string_view propertyNameAt(size_t index);
uint32_t propertyTagAt(size_t index);

}  // namespace qb
