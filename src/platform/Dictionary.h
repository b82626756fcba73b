// SPDX-License-Identifier: Apache-2.0
// The dictionary type for metadata the exporters write, the outer headers a TNEF reader is
// given and the command line's JSON output.
#pragma once

#include <nlohmann/json.hpp>

namespace qb {

/// Metadata and header dictionaries keep their keys in insertion order; dates inside them are
/// RFC 3339 strings.
using Dictionary = nlohmann::ordered_json;

}  // namespace qb
