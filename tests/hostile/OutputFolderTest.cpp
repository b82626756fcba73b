// SPDX-License-Identifier: Apache-2.0
// extract in hostile surroundings: the output folder swapped for a link, an interrupted run,
// a disk that fills up, names Windows reserves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "hostile/RunLimited.h"
#include "platform/Dictionary.h"
#include "platform/Digest.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::slurp;
using testing::HasSubstr;

class OutputFolder : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("quillbox-output"); }
    void TearDown() override { fs::remove_all(dir_); }

    // A message with `count` attachments "aN.bin" of about `size` bytes each, all different.
    std::string writeMessage(const std::string& name, size_t count, size_t size) {
        test::TNEFWriter w;
        w.version().messageClass("IPM.Note").subject("many");
        for (size_t i = 0; i < count; ++i) {
            const std::string file = "a" + std::to_string(i) + ".bin";
            contents_[file] = std::string(size, char('a' + i % 26)) + std::to_string(i);
            w.attachment(file, contents_[file]);
        }
        const fs::path p = dir_ / name;
        std::ofstream(p, std::ios::binary) << w.str();
        return p.string();
    }

    // Waits until `p` exists (or the run is over); false when it never appeared.
    static bool waitFor(const fs::path& p) {
        for (int i = 0; i < 200000; ++i) {
            if (fs::exists(p)) return true;
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        return false;
    }

    fs::path dir_;
    std::map<std::string, std::string> contents_;
};

TEST_F(OutputFolder, ALinkSwappedInForTheFolderReceivesNothing) {
    const std::string input = writeMessage("swap.dat", 1000, 32 * 1024);
    const fs::path out = dir_ / "out", elsewhere = dir_ / "elsewhere";
    fs::create_directories(elsewhere);
    fs::create_directories(out);
    const int pid = test::startLimited({"extract", input, "-o", out.string()}, dir_);
    // Once the first files are in, replace the new folder by a link to another place.
    ASSERT_TRUE(waitFor(out / "swap" / "a1.bin"));
    fs::rename(out / "swap", out / "moved");
    fs::create_directory_symlink(elsewhere, out / "swap");
    const auto r = test::finishLimited(pid, dir_);
    ASSERT_TRUE(r.exited);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(fs::is_empty(elsewhere));
    size_t files = 0;
    for (const auto& e : fs::directory_iterator(out / "moved"))
        files += e.is_regular_file();
    EXPECT_EQ(files, 1000u + 3);  // with View.html, metadata.json and manifest.json
    // The swap came while files were being written, not after.
    EXPECT_LT(fs::last_write_time(out / "moved" / "a1.bin"),
              fs::last_write_time(out / "moved" / "metadata.json"));
}

TEST_F(OutputFolder, AnInterruptedRunLeavesOnlyWholeFiles) {
    const std::string input = writeMessage("stop.dat", 1000, 64 * 1024);
    const fs::path out = dir_ / "out";
    const int pid = test::startLimited({"extract", input, "-o", out.string()}, dir_);
    // After the first files are written.
    auto printed = [&] {
        std::error_code ec;
        const auto size = fs::file_size(dir_ / "stdout.txt", ec);
        return ec ? 0 : size;
    };
    for (int i = 0; i < 200000 && printed() < 200; ++i)
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    ::kill(pid, SIGINT);
    const auto r = test::finishLimited(pid, dir_);
    ASSERT_TRUE(r.exited) << "signal " << r.status;
    if (r.status != 0) {
        EXPECT_EQ(r.status, 1);
        EXPECT_THAT(r.err, HasSubstr("interrupted; not written: "));
    }
    size_t whole = 0;
    for (const auto& e : fs::directory_iterator(out / "stop")) {
        const std::string name = e.path().filename().string();
        EXPECT_FALSE(name.starts_with(".")) << "left behind: " << name;
        if (name == "metadata.json") {
            EXPECT_TRUE(Dictionary::accept(slurp(e.path())));
        } else if (contents_.contains(name)) {
            EXPECT_EQ(slurp(e.path()), contents_[name]) << name;
            ++whole;
        }
    }
    EXPECT_GT(whole, 0u);
}

TEST_F(OutputFolder, AFullDiskLeavesNoCutFileAndNamesWhatFailed) {
    test::TNEFWriter w;
    w.version().messageClass("IPM.Note").subject("full");
    w.attachment("small.txt", "fits");
    w.attachment("large.bin", std::string(200000, 'L'));
    const fs::path input = dir_ / "full.dat";
    std::ofstream(input, std::ios::binary) << w.str();
    const fs::path out = dir_ / "out";
    const auto r = test::runLimited({"extract", input.string(), "-o", out.string()}, dir_, 100000);
    ASSERT_TRUE(r.exited);
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("large.bin: File too large"));
    EXPECT_FALSE(fs::exists(out / "full" / "large.bin"));
    EXPECT_EQ(slurp(out / "full" / "small.txt"), "fits");
    for (const auto& e : fs::directory_iterator(out / "full"))
        EXPECT_FALSE(e.path().filename().string().starts_with("."));
    EXPECT_TRUE(Dictionary::accept(slurp(out / "full" / "metadata.json")));
}

TEST_F(OutputFolder, ReservedNamesAreNumberedAndTheManifestListsEveryFile) {
    test::TNEFWriter w;
    w.version().messageClass("IPM.Note").subject("names").attr(1, 0x800C, 2, "body");
    for (const char* name : {"CON", "nul.txt", "com1.log", "console.txt", "manifest.json"})
        w.attachment(name, std::string("content of ") + name);
    const fs::path input = dir_ / "names.dat";
    std::ofstream(input, std::ios::binary) << w.str();
    const fs::path out = dir_ / "out";
    const auto r = test::runLimited({"extract", input.string(), "-o", out.string()}, dir_);
    ASSERT_EQ(r.status, 0) << r.err;
    const fs::path folder = out / "names";
    EXPECT_EQ(slurp(folder / "CON (2)"), "content of CON");
    EXPECT_EQ(slurp(folder / "nul (2).txt"), "content of nul.txt");
    EXPECT_EQ(slurp(folder / "com1 (2).log"), "content of com1.log");
    EXPECT_EQ(slurp(folder / "console.txt"), "content of console.txt");
    EXPECT_EQ(slurp(folder / "manifest (2).json"), "content of manifest.json");

    const Dictionary manifest = Dictionary::parse(slurp(folder / "manifest.json"));
    std::map<std::string, Dictionary> byFile;
    for (const auto& entry : manifest)
        byFile[entry["file"].get<std::string>()] = entry;
    EXPECT_EQ(byFile.size(), 8u);  // the body, five attachments, View.html, metadata.json
    for (const auto& [file, entry] : byFile) {
        const std::string bytes = slurp(folder / file);
        EXPECT_EQ(entry["size"], bytes.size()) << file;
        EXPECT_EQ(entry["sha256"], sha256Hex(Bytes::fromString(bytes))) << file;
    }
    EXPECT_EQ(byFile["Message.txt"]["exporter"], "PlainTextExporter");
    EXPECT_EQ(byFile["CON (2)"]["exporter"], "AttachmentExporter");
    EXPECT_EQ(byFile["metadata.json"]["exporter"], "metadata");
    EXPECT_EQ(byFile["View.html"]["exporter"], "QBMailTemplate");
}

TEST_F(OutputFolder, SingleOutputFilesAreReplacedWholeAndDevicesWrittenInPlace) {
    const std::string input = writeMessage("one.dat", 2, 10);
    const fs::path eml = dir_ / "one.eml";
    std::ofstream(eml) << "old content";
    auto r = test::runLimited({"eml", input, "-o", eml.string()}, dir_);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(slurp(eml), HasSubstr("Subject: many"));
    for (const auto& e : fs::directory_iterator(dir_))
        EXPECT_FALSE(e.path().filename().string().starts_with(".")) << e.path();
    // A link (to a device, a pipe, a file kept elsewhere) is written through, not replaced.
    const fs::path target = dir_ / "target.eml", link = dir_ / "link.eml";
    std::ofstream(target) << "old content";
    fs::create_symlink(target, link);
    r = test::runLimited({"eml", input, "-o", link.string()}, dir_);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_THAT(slurp(target), HasSubstr("Subject: many"));
}

}  // namespace
}  // namespace qb
