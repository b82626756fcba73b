// SPDX-License-Identifier: Apache-2.0
// Entry names of ZIP archives and compound files, for format detection to tell a .docx from
// a .zip, or a .msg from a .doc.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Bytes.h"

namespace qb {

// The names of the entries of a ZIP archive held in memory (empty when it is none or is
// damaged), and of the top-level entries of a compound file.
std::vector<std::string> zipEntryNames(const Bytes& data);
std::vector<std::string> compoundFileEntryNames(const Bytes& data);

// The version of the libzip opened for zipEntryNames; nullopt when it cannot be loaded.
std::optional<std::string> zipLibraryVersion();

}  // namespace qb
