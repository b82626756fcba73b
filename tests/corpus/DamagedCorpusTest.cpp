// SPDX-License-Identifier: Apache-2.0
// Damaged real files are read in part and say where; good ones read whole. Copies of good files
// cut short say so too.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "api/OpenMessage.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::corpusDir;

// Files whose bytes run out or run on (a record cut or followed by bytes that are no record,
// a property count past the data, sectors past the end of the file) or that contradict
// themselves (one property stored under two types).
const std::set<std::string> kDamaged = {
    "oom.tnef",
    "garbage-at-end.tnef",
    "bug52400-winmail-simple.dat",
    "bug52400-winmail-with-attachments.dat",
    "clusterfuzz-testcase-minimized-POIHSMFFuzzer-4735011465854976.msg",
    "clusterfuzz-testcase-minimized-POIHSMFFuzzer-4848576776503296.msg",
};

std::vector<fs::path> corpusFiles() {
    std::vector<fs::path> files;
    for (const char* kind : {"tnef", "msg"})
        for (const auto& e : fs::directory_iterator(corpusDir() / kind))
            if (e.is_regular_file() &&
                (std::string(kind) == "tnef" || e.path().extension() == ".msg"))
                files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

TEST(DamagedCorpus, DamagedFilesWarnWithOffsetsAndGoodFilesReadWhole) {
    if (!fs::is_directory(corpusDir())) GTEST_SKIP() << "no corpus";
    test::LogCapture quiet;
    size_t damaged = 0, good = 0;
    for (const auto& path : corpusFiles()) {
        SCOPED_TRACE(path.filename().string());
        auto data = readInput(path.string());
        ASSERT_TRUE(data);
        auto opened = openMessage(*data);
        if (path.filename() == "unknown_properties.msg") {
            ASSERT_FALSE(opened);
            EXPECT_EQ(opened.error().description, "Unknown header format (headerSize < 24)");
            EXPECT_TRUE(opened.error().offset);
            continue;
        }
        ASSERT_TRUE(opened);
        const auto& report = *opened->message->report();
        const bool expectDamage = kDamaged.contains(path.filename().string());
        EXPECT_EQ(report.partial(), expectDamage);
        for (const auto& w : report.warnings()) {
            ASSERT_TRUE(w.offset) << w.text;
            EXPECT_LE(*w.offset, data->size()) << w.text;
        }
        ++(expectDamage ? damaged : good);
    }
    EXPECT_EQ(damaged, kDamaged.size());
    EXPECT_GT(good, 55u);
}

TEST(DamagedCorpus, CopiesCutShortAreReadInPart) {
    if (!fs::is_directory(corpusDir())) GTEST_SKIP() << "no corpus";
    test::LogCapture quiet;
    for (const char* name : {"tnef/quick-winmail.dat", "msg/attachment_msg_pdf.msg",
                             "msg/example_received_regular.msg"}) {
        SCOPED_TRACE(name);
        auto data = readInput((corpusDir() / name).string());
        ASSERT_TRUE(data);
        auto cut = openMessage(data->slice(0, data->size() * 8 / 10));
        ASSERT_TRUE(cut);
        const auto warnings = cut->message->report()->warnings();
        ASSERT_FALSE(warnings.empty());
        EXPECT_TRUE(warnings.front().offset);
    }
}

}  // namespace
}  // namespace qb
