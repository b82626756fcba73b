// SPDX-License-Identifier: Apache-2.0
// The .eml written as it is produced: the same bytes as the message in one buffer, to a file
// and to a descriptor; the budget decided before anything is written; an interruption leaves
// nothing behind.
#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/OpenMessage.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "support/SampleMessages.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::slurp;

// What writeRFC822 puts into a descriptor.
std::string writtenToDescriptor(const std::shared_ptr<const OutlookMessage>& message,
                                const fs::path& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_GE(fd, 0);
    auto written = writeRFC822(message, fd, "out");
    ::close(fd);
    EXPECT_TRUE(written);
    return slurp(path);
}

TEST(StreamedEml, EveryCorpusMessageStreamsTheBytesItSerialisesTo) {
    const fs::path corpus = test::corpusDir();
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
    const fs::path dir = test::makeTestFolder("qb-streamed-eml");
    test::LogCapture quiet;
    size_t compared = 0;
    for (const char* kind : {"tnef", "msg"}) {
        for (const auto& e : fs::directory_iterator(corpus / kind)) {
            auto data = readInput(e.path().string());
            if (!data) continue;
            auto opened = openMessage(*data);
            if (!opened) continue;
            SCOPED_TRACE(e.path().filename().string());
            auto whole = rfc822Message(opened->message);
            ASSERT_TRUE(whole);
            const std::string expected(whole->view());
            auto written = exportToRFC822(opened->message, (dir / "m.eml").string());
            ASSERT_TRUE(written);
            EXPECT_EQ(*written, expected.size());
            EXPECT_TRUE(slurp(dir / "m.eml") == expected);
            EXPECT_TRUE(writtenToDescriptor(opened->message, dir / "fd.eml") == expected);
            EXPECT_EQ(rfc822Body(opened->message).size(), expected.size());
            ++compared;
        }
    }
    EXPECT_GT(compared, 60u);
    fs::remove_all(dir);
}

TEST(StreamedEml, OverBudgetOrInterruptedWritesNothing) {
    const fs::path dir = test::makeTestFolder("qb-streamed-eml-budget");
    auto opened = openMessage(Bytes::fromString(test::largeWinmail(3, 200000, 2)));
    ASSERT_TRUE(opened);
    const uint64_t size = rfc822Body(opened->message).size();
    const std::string path = (dir / "big.eml").string();

    auto over = exportToRFC822(opened->message, path, size - 1);
    ASSERT_FALSE(over);
    EXPECT_EQ(over.error().code, kExportErrorOverBudget);
    EXPECT_FALSE(fs::exists(path));
    const int fd = ::open((dir / "fd").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_FALSE(writeRFC822(opened->message, fd, "out", size - 1));
    ::close(fd);
    EXPECT_EQ(fs::file_size(dir / "fd"), 0u);

    const std::atomic<bool> cancel{true};
    auto stopped = exportToRFC822(opened->message, path, 0, &cancel);
    ASSERT_FALSE(stopped);
    EXPECT_EQ(stopped.error().code, EINTR);
    // Neither the file nor its temporary.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);

    auto exact = exportToRFC822(opened->message, path, size);
    ASSERT_TRUE(exact);
    EXPECT_EQ(fs::file_size(path), size);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace qb
