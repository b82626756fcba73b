// SPDX-License-Identifier: Apache-2.0
// The front door's exports: a folder per message written safely, and the whole .eml.
#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/ExtractFolder.h"
#include "api/OpenMessage.h"
#include "exporters/TNEFMessageExporter.h"
#include "platform/Digest.h"
#include "support/FakeMessage.h"
#include "support/SampleMessages.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::slurp;
using testing::HasSubstr;

class Export : public testing::Test {
  protected:
    void SetUp() override {
        dir_ = test::makeTestFolder("qb-export");
        fd_ = openFolder(dir_.string());
        auto opened = openMessage(Bytes::fromString(test::sampleWinmail()));
        ASSERT_TRUE(opened);
        message_ = opened->message;
    }
    void TearDown() override {
        ::close(fd_);
        fs::remove_all(dir_);
    }
    fs::path dir_;
    int fd_ = -1;
    std::shared_ptr<const OutlookMessage> message_;
};

TEST_F(Export, FolderHoldsEveryExportAndDescribesItLast) {
    std::vector<std::string> told;
    FolderExportOptions options;
    options.fileWritten = [&](const ExportedFile& f) { told.push_back(f.path); };
    auto result = exportToFolder(message_, fd_, dir_.string(), "winmail", options);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->complete);
    EXPECT_EQ(result->folder, (dir_ / "winmail").string());
    ASSERT_GE(result->files.size(), 4u);
    EXPECT_EQ(told.size(), result->files.size());
    EXPECT_EQ(result->files[result->files.size() - 2].exporter, "metadata");
    EXPECT_EQ(result->files.back().exporter, "manifest");
    // Sizes and digests are taken as the files are written: they describe the files.
    for (const auto& f : result->files) {
        EXPECT_EQ(fs::file_size(f.path), f.size) << f.path;
        EXPECT_EQ(f.sha256, sha256Hex(Bytes::fromString(slurp(f.path)))) << f.path;
    }
    // Nothing but the exports: no temporary files left behind.
    size_t entries = 0;
    for (const auto& e : fs::directory_iterator(result->folder)) {
        EXPECT_NE(e.path().filename().string()[0], '.') << e.path();
        ++entries;
    }
    EXPECT_EQ(entries, result->files.size());
    const std::string manifest = slurp(fs::path(result->folder) / "manifest.json");
    EXPECT_THAT(manifest, HasSubstr("\"exporter\": \"AttachmentExporter\""));
    EXPECT_THAT(manifest, HasSubstr("\"sha256\": "));

    // A second export of the same message gets a folder of its own; by path, the parent
    // folders are made.
    auto again = exportToFolder(message_, fd_, dir_.string(), "winmail");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->folder, (dir_ / "winmail (2)").string());
    auto byPath = exportToFolder(message_, (dir_ / "a/b").string(), "winmail");
    ASSERT_TRUE(byPath);
    EXPECT_EQ(byPath->folder, (dir_ / "a/b/winmail").string());
    EXPECT_TRUE(fs::exists(dir_ / "a/b/winmail/metadata.json"));
}

TEST_F(Export, NestedMessageIsWrittenAsItIsEncodedWithTheSameBytes) {
    // Two levels, with an attachment large enough to span many writes.
    auto inner = test::FakeMessage::make();
    inner->subject_ = "inner";
    inner->mimeBody = "the inner body";
    inner->addAttachment("big.bin", std::string(300000, '\x7f'));
    auto middle = test::FakeMessage::make();
    middle->subject_ = "middle";
    middle->addAttachment(std::nullopt, std::nullopt, inner);
    auto outer = test::FakeMessage::make();
    outer->subject_ = "outer";
    outer->addAttachment(std::nullopt, std::nullopt, middle);

    auto result = exportToFolder(outer, fd_, dir_.string(), "outer");
    ASSERT_TRUE(result);
    auto exporter = TNEFMessageExporter::create(outer, nullptr, ExportMode::Files);
    ASSERT_EQ(exporter->attachmentExporters().size(), 1u);
    const auto whole = exporter->attachmentExporters()[0]->data();
    ASSERT_TRUE(whole);
    ASSERT_GT(whole->size(), 400000u);
    const auto file = std::find_if(result->files.begin(), result->files.end(),
                                   [](const ExportedFile& f) { return f.path.ends_with(".eml"); });
    ASSERT_NE(file, result->files.end());
    EXPECT_EQ(file->size, whole->size());
    EXPECT_EQ(slurp(file->path), whole->str());
    EXPECT_EQ(file->sha256, sha256Hex(*whole));
}

TEST_F(Export, CancelledExportWritesNothingMoreAndSaysWhat) {
    std::atomic<bool> cancel{false};
    FolderExportOptions options;
    options.cancel = &cancel;
    options.fileWritten = [&](const ExportedFile&) { cancel = true; };  // after the first file
    auto result = exportToFolder(message_, fd_, dir_.string(), "m", options);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->complete);
    EXPECT_EQ(result->files.size(), 1u);
    ASSERT_FALSE(result->notWritten.empty());
    EXPECT_EQ(result->notWritten.back(), "manifest.json");
}

TEST_F(Export, FolderThatCannotBeMadeIsAnError) {
    // A file where the parent folder should be (root may write anywhere, so no permissions).
    std::ofstream(dir_ / "file") << "x";
    const int fileFd = ::open((dir_ / "file").c_str(), O_RDONLY);
    auto result = exportToFolder(message_, fileFd, (dir_ / "file").string(), "m");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().domain, "POSIX");
    EXPECT_THAT(result.error().description, HasSubstr("cannot create the folder"));
    ::close(fileFd);
}

TEST_F(Export, RFC822FileIsTheSameBytesWrittenWhole) {
    const Bytes eml = rfc822Data(message_);
    ASSERT_GT(eml.size(), 1000u);
    EXPECT_THAT(eml.str(), HasSubstr("Subject: "));
    EXPECT_EQ(rfc822Data(message_).str(), eml.str());  // reproducible

    const fs::path out = dir_ / "m.eml";
    std::ofstream(out) << "old content";
    auto written = exportToRFC822(message_, out.string());
    ASSERT_TRUE(written);
    EXPECT_EQ(*written, eml.size());
    EXPECT_EQ(slurp(out), eml.str());
    size_t entries = 0;
    for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir_))
        ++entries;
    EXPECT_EQ(entries, 1u);

    auto failed = exportToRFC822(message_, (dir_ / "no/such/folder/m.eml").string());
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.error().description, HasSubstr("No such file or directory"));
}

TEST_F(Export, OutputPastTheBudgetStopsWithTheReason) {
    // Real messages stay far below the default budget.
    EXPECT_GE(outputBudgetFor(*message_), uint64_t(16) << 20);

    FolderExportOptions options;
    options.outputBudget = 600;
    auto result = exportToFolder(message_, fd_, dir_.string(), "m", options);
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->complete);
    EXPECT_EQ(result->budgetExceeded, 600u);
    uint64_t exports = 0;
    for (const auto& f : result->files)
        if (f.exporter != "metadata" && f.exporter != "manifest") exports += f.size;
    EXPECT_LE(exports, 600u);
    // What was written is still described.
    EXPECT_EQ(result->files.back().exporter, "manifest");

    auto eml = rfc822Message(message_, 600);
    ASSERT_FALSE(eml);
    EXPECT_EQ(eml.error().domain, kExportErrorDomain);
    EXPECT_THAT(eml.error().description, HasSubstr("more than the 600 bytes"));
    EXPECT_FALSE(exportToRFC822(message_, (dir_ / "x.eml").string(), 600));
    EXPECT_FALSE(fs::exists(dir_ / "x.eml"));
}

}  // namespace
}  // namespace qb
