// SPDX-License-Identifier: Apache-2.0
// Every minimised fuzz finding kept in tests/data/fuzz-regressions/<target>/ runs through the
// body of the fuzz target that found it (tests/support/FuzzTargets), so a finding once fixed
// stays fixed in the normal and the sanitizer build.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/FuzzTargets.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

const fs::path kRegressions = fs::path(QB_SOURCE_DIR) / "tests" / "data" / "fuzz-regressions";

Bytes readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    return Bytes::adopt(std::move(bytes));
}

TEST(FuzzRegressions, EveryFolderIsNamedAfterATarget) {
    ASSERT_TRUE(fs::is_directory(kRegressions));
    const auto& names = fuzz::targetNames();
    for (const auto& entry : fs::directory_iterator(kRegressions)) {
        if (!entry.is_directory()) continue;
        const std::string name = entry.path().filename().string();
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end())
            << "no fuzz target called " << name;
    }
}

TEST(FuzzRegressions, EveryKeptFindingRunsCleanThroughItsTarget) {
    test::LogCapture quiet;
    size_t replayed = 0;
    for (std::string_view target : fuzz::targetNames()) {
        const fs::path folder = kRegressions / target;
        if (!fs::is_directory(folder)) continue;
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.is_regular_file()) files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            SCOPED_TRACE(file.string());
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(fuzz::runTarget(target, readFile(file)), std::optional<bool>(true));
            // The fuzzers give an input 10 s before they call it a finding.
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
            ++replayed;
        }
    }
    EXPECT_GT(replayed, 0u);
}

}  // namespace
}  // namespace qb
