// SPDX-License-Identifier: Apache-2.0
// Reading inputs: a mapped file that shrinks under the reader, pipes read to a limit.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/ByteReader.h"
#include "platform/FileData.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

TEST(FileData, AFileThatShrinksWhileMappedReadsAsZerosAndIsCounted) {
    const fs::path p = fs::temp_directory_path() / ("qb-shrink-" + std::to_string(::getpid()));
    std::ofstream(p, std::ios::binary) << std::string(256 * 1024, 'x');
    auto data = readFileData(p.string());
    ASSERT_TRUE(data);
    ASSERT_EQ(data->size(), 256u * 1024);
    EXPECT_EQ((*data)[0], 'x');
    const uint64_t before = mappedInputFaults();
    ASSERT_EQ(::truncate(p.c_str(), 4096), 0);
    // Past the new end: no SIGBUS, zeros instead, and the event is counted.
    EXPECT_EQ((*data)[200 * 1024], 0);
    EXPECT_EQ(ByteReader::u32le(*data, 100 * 1024), 0u);
    EXPECT_GT(mappedInputFaults(), before);
    EXPECT_EQ((*data)[100], 'x');
    fs::remove(p);
}

TEST(FileData, NonRegularInputsAreReadToTheLimit) {
    std::string error;
    int code = 0;
    auto data = readFileData("/dev/zero", &error, &code, 1 << 20);
    EXPECT_FALSE(data);
    EXPECT_EQ(code, EFBIG);
    EXPECT_NE(error.find("--max-size"), std::string::npos);
    data = readFileData("/dev/null", &error, &code, 1 << 20);
    ASSERT_TRUE(data);
    EXPECT_TRUE(data->empty());
}

TEST(FileData, CountsAreCutToTheBytesLeft) {
    // Counts are cut to what the bytes left can hold; zero-size items keep theirs.
    EXPECT_EQ(ByteReader::fitCount(0xFFFFFFFF, 100, 4), 25u);
    EXPECT_EQ(ByteReader::fitCount(3, 100, 4), 3u);
    EXPECT_EQ(ByteReader::fitCount(0xFFFFFFFF, 100, 0), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace qb
