// SPDX-License-Identifier: Apache-2.0
// quillbox over many files: worker threads give the same bytes, statuses and summaries as one
// thread, and -r takes the files below a folder by content. Built on its own (qb_batch_tests)
// so that CI can run it under ThreadSanitizer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "support/Corpus.h"
#include "support/SampleMessages.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::slurp;
using testing::HasSubstr;

using test::RunResult;

class Batch : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("quillbox-batch"); }
    void TearDown() override { fs::remove_all(dir_); }

    RunResult run(const std::string& args) {
        return test::runCommand(dir_, std::string(QB_QUILLBOX_PATH) + " " + args);
    }

    // Every file below `root`: relative path to content.
    static std::map<std::string, std::string> tree(const fs::path& root) {
        std::map<std::string, std::string> files;
        for (const auto& e : fs::recursive_directory_iterator(root))
            if (e.is_regular_file()) files[fs::relative(e.path(), root).string()] = slurp(e.path());
        return files;
    }

    static std::string replaced(std::string text, const std::string& from, const std::string& to) {
        for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
        return text;
    }

    fs::path dir_;
};

TEST_F(Batch, WorkersGiveTheBytesOneThreadGives) {
    const fs::path corpus = test::corpusDir();
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus at " << corpus;
    const std::string in = "'" + corpus.string() + "'";

    const RunResult info1 = run("info --json -r -j 1 " + in);
    const RunResult info4 = run("info --json -r -j 4 " + in);
    EXPECT_EQ(info1.status, info4.status);
    EXPECT_EQ(info1.out, info4.out);
    EXPECT_EQ(info1.err, info4.err);
    // The corpus holds messages and, beside them, reports and notes that are none.
    EXPECT_GT(std::count(info1.out.begin(), info1.out.end(), '\n'), 50);
    EXPECT_THAT(info1.err, HasSubstr("files skipped (not messages)"));
    EXPECT_EQ(info1.out.find("\"file\":\"" + (corpus / "golden").string()), std::string::npos);
    EXPECT_NE(info1.out.find("\"file\":\"" + (corpus / "msg").string()), std::string::npos);

    const fs::path out1 = dir_ / "one", out4 = dir_ / "four";
    const RunResult x1 = run("extract -r -j 1 " + in + " -o " + out1.string());
    const RunResult x4 = run("extract -r -j 4 " + in + " -o " + out4.string());
    EXPECT_EQ(x1.status, x4.status);
    EXPECT_EQ(x1.out, replaced(x4.out, out4.string(), out1.string()));
    EXPECT_EQ(x1.err, replaced(x4.err, out4.string(), out1.string()));
    EXPECT_THAT(x1.err, HasSubstr("skipped (not messages)"));
    const auto files1 = tree(out1), files4 = tree(out4);
    EXPECT_GT(files1.size(), 200u);
    EXPECT_EQ(files1.size(), files4.size());
    for (const auto& [path, bytes] : files1) {
        auto other = files4.find(path);
        ASSERT_NE(other, files4.end()) << path;
        EXPECT_TRUE(other->second == bytes) << path;
    }
}

TEST_F(Batch, RecursiveTakesFilesByContentAndNumbersSameNamedOnesInOrder) {
    const fs::path in = dir_ / "in";
    fs::create_directories(in / "b" / "deeper");
    std::ofstream(in / "a.dat", std::ios::binary) << test::sampleWinmail();
    std::ofstream(in / "b" / "a.dat", std::ios::binary) << test::sampleWinmail();
    // Sorts first, and takes the name the second a.dat would otherwise get.
    std::ofstream(in / "a (2).dat", std::ios::binary) << test::sampleWinmail();
    std::ofstream(in / "b" / "deeper" / "a.msg.txt", std::ios::binary) << test::sampleWinmail();
    std::ofstream(in / "notes.txt") << "no message here\n";
    std::ofstream(in / "empty");
    // A loop back up the tree is not followed.
    fs::create_directory_symlink("..", in / "b" / "loop");

    for (const char* jobs : {"1", "3"}) {
        SCOPED_TRACE(jobs);
        const fs::path out = dir_ / (std::string("out") + jobs);
        const RunResult r =
            run(std::string("extract -r -j ") + jobs + " " + in.string() + " -o " + out.string());
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_THAT(r.err, HasSubstr("quillbox: 4 done, 0 failed, 2 skipped (not messages); "));
        // Folders in the order of the sorted paths, whichever worker finished first.
        EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 4);
        const size_t a2 = r.out.find(out.string() + "/a (2)/"),
                     a = r.out.find(out.string() + "/a/"),
                     a3 = r.out.find(out.string() + "/a (3)/"),
                     msg = r.out.find(out.string() + "/a.msg/");
        EXPECT_LT(a2, a);
        EXPECT_LT(a, a3);
        EXPECT_LT(a3, msg);
        EXPECT_NE(msg, std::string::npos);

        const RunResult info = run(std::string("info --json -r -j ") + jobs + " " + in.string());
        EXPECT_EQ(info.status, 0) << info.err;
        EXPECT_EQ(std::count(info.out.begin(), info.out.end(), '\n'), 4);
        EXPECT_EQ(info.err, "quillbox: 2 files skipped (not messages)\n");
    }

    // A file named on the command line is never skipped: not being a message is a failure.
    const RunResult named =
        run("info -j 2 " + (in / "a.dat").string() + " " + (in / "notes.txt").string());
    EXPECT_EQ(named.status, 1);
    EXPECT_THAT(named.err, HasSubstr("notes.txt"));
    EXPECT_THAT(named.out, HasSubstr("a.dat (tnef)"));
}

TEST_F(Batch, FailuresAndWarningsStayWithTheirFileInInputOrder) {
    const fs::path in = dir_ / "in";
    fs::create_directories(in);
    std::vector<std::string> args;
    for (int i = 0; i < 12; ++i) {
        const fs::path p = in / ("m" + std::to_string(i) + ".dat");
        std::string bytes = test::sampleWinmail();
        // Every third one cut short: read in part, with warnings, or not at all.
        if (i % 3 == 1) bytes.resize(bytes.size() - 7);
        if (i % 3 == 2) bytes = "not a message";
        std::ofstream(p, std::ios::binary) << bytes;
        args.push_back(p.string());
    }
    std::string list;
    for (const auto& a : args)
        list += " " + a;
    const RunResult one = run("info --json -j 1" + list);
    const RunResult many = run("info --json -j 4" + list);
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(many.status, one.status);
    EXPECT_EQ(many.out, one.out);
    EXPECT_EQ(many.err, one.err);
    EXPECT_LT(one.out.find("m2.dat"), one.out.find("m10.dat"));

    const RunResult x1 = run("extract -j 1" + list + " -o " + (dir_ / "x").string());
    const RunResult x4 = run("extract -j 4" + list + " -o " + (dir_ / "y").string());
    EXPECT_EQ(x1.status, 1);
    EXPECT_EQ(x4.status, 1);
    EXPECT_EQ(replaced(x4.out, (dir_ / "y").string(), (dir_ / "x").string()), x1.out);
    EXPECT_EQ(replaced(x4.err, (dir_ / "y").string(), (dir_ / "x").string()), x1.err);
    EXPECT_THAT(x1.err, HasSubstr("quillbox: 8 done, 4 failed; "));
}

}  // namespace
}  // namespace qb
