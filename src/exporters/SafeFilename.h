// SPDX-License-Identifier: Apache-2.0
// File names made safe before any export reaches the file system; the folder writer numbers
// collisions with them.
#pragma once

#include <string>
#include <string_view>

namespace qb {

// A name that is safe as one file name in a folder: path separators and control
// characters become "_", a leading dot gets a "_" in front (so neither ".." nor hidden
// files), invalid UTF-8 is repaired, and long names are cut to 200 bytes keeping the
// extension. An empty name becomes `fallback`.
std::string safeFilename(std::string_view name, std::string_view fallback = "Untitled");

// The n-th candidate for a name that is taken: "a.txt" -> "a (2).txt" for n = 2; n = 1 gives
// the name itself.
std::string numberedFilename(std::string_view name, unsigned n);

// Whether Windows reserves `name` for a device (CON, PRN, AUX, NUL, COM1–9, LPT1–9, with any
// extension, in any case): such names are numbered like taken ones.
bool isWindowsReservedName(const std::string& name);

}  // namespace qb
