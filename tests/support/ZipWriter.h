// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qb::test {

// A ZIP archive of stored (uncompressed) entries, for tests.
std::string zipArchive(const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace qb::test
