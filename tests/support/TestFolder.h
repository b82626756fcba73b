// SPDX-License-Identifier: Apache-2.0
// A folder of its own for each test, and the whole content of a file.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace qb::test {

inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// A new, empty folder named after `prefix`, the process and the running test.
inline std::filesystem::path makeTestFolder(const std::string& prefix) {
    const auto dir = std::filesystem::temp_directory_path() /
                     (prefix + "-" + std::to_string(::getpid()) + "-" +
                      testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

}  // namespace qb::test
