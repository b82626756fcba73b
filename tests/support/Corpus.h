// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>

namespace qb::test {

// The shared corpus of real files beside the checkout, or beside the folder of worktrees
// that holds it; QB_CORPUS names another place. Tests skip when it is absent.
inline std::filesystem::path corpusDir() {
    if (const char* dir = std::getenv("QB_CORPUS"); dir && *dir) return dir;
    const std::filesystem::path source(QB_SOURCE_DIR);
    for (const auto& base : {source / "..", source / ".." / ".."}) {
        if (std::filesystem::is_directory(base / "shared" / "corpus"))
            return base / "shared" / "corpus";
    }
    return source / ".." / "shared" / "corpus";
}

}  // namespace qb::test
