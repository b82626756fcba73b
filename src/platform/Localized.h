// SPDX-License-Identifier: Apache-2.0
// Translatable user-facing texts (TNEF error descriptions, the front door's reasons).
#pragma once

#include <map>
#include <string>

namespace qb {

// The library's string table: user-facing texts are looked up by their English text, which
// is also the answer when no translation is installed.
std::string localized(const std::string& key);

// Installs a translation table (English text -> translated text); an empty table restores
// English.
void setLocalizedTable(std::map<std::string, std::string> table);

}  // namespace qb
