// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

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

// The messages of one corpus folder ("tnef" or "msg"), sorted, without the reference .eml
// conversions that sit beside them.
inline std::vector<std::filesystem::path> corpusMessageFiles(const char* kind) {
    std::vector<std::filesystem::path> files;
    for (const auto& e : std::filesystem::directory_iterator(corpusDir() / kind))
        if (e.is_regular_file() && e.path().extension() != ".eml") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace qb::test
