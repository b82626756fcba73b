// Finds and opens the loadable drawing modules (dlopen) on first use, so that processes which
// never draw do not pay for loading cairo, pango or poppler.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qb {

// Where modules are looked for, in order: $QB_MODULE_DIR, the folder the build tree puts them
// in, the install location.
std::vector<std::string> moduleSearchPath();

// Opens `fileName` from the first folder of `dirs` that holds a loadable copy and calls its
// entry point `entry`; returns the table when its leading version field equals `version`,
// else nullptr with the reason in `why`. A module once opened stays loaded.
const void* openModuleTable(const std::vector<std::string>& dirs, std::string_view fileName,
                            const char* entry, uint32_t version, std::string& why);

// openModuleTable over moduleSearchPath(), with one log line when it fails; `what` names the
// module in that line. Callers run it once per process (std::call_once).
const void* loadModuleTable(std::string_view fileName, const char* entry, uint32_t version,
                            std::string_view what);

}  // namespace qb
