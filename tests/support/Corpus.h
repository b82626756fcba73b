#pragma once

#include <filesystem>

namespace qb::test {

// The shared corpus of real files beside the checkout (tests skip when it is absent).
inline std::filesystem::path corpusDir() {
    return std::filesystem::path(QB_SOURCE_DIR) / ".." / "shared" / "corpus";
}

}  // namespace qb::test
