// SPDX-License-Identifier: Apache-2.0
// Which library this is and which libraries it runs with, for `--version` lines and bug
// reports.
#pragma once

#include <string>
#include <vector>

#include "platform/Export.h"

namespace qb {

/// The version of libqbcore itself ("0.1.0"), the same number its CMake package and
/// pkg-config file carry.
[[nodiscard]] QB_API const char* libraryVersion();

/// One library libqbcore runs with, and its version as that library reports it.
struct QB_API DependencyVersion {
    std::string name;     ///< "ICU", "libxml2", "libzip"
    std::string version;  ///< as loaded at run time, which may differ from the build's headers
};

/// The versions of ICU, libxml2 and libzip in use by this process, read from the libraries
/// themselves: a shared library upgraded after the build shows its new version.
[[nodiscard]] QB_API std::vector<DependencyVersion> runtimeDependencyVersions();

}  // namespace qb
