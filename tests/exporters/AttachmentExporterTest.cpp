// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/AttachmentExporter.h"
#include "exporters/SafeFilename.h"
#include "support/FakeMessage.h"

namespace qb {
namespace {

const std::string kPNG("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);

TEST(AttachmentExporter, NamesComeFromTheAttachmentOrTheContent) {
    auto m = test::FakeMessage::make();
    const std::vector<std::tuple<std::optional<std::string>, std::string, std::string>> cases = {
        {"C:/Users/ann/My Documents/report.pdf", "%PDF-1.4", "report.pdf"},
        {std::nullopt, kPNG, "Untitled Attachment.png"},
        {"", kPNG, "Untitled Attachment.png"},
        {"scan", kPNG, "scan.png"},
        // An extension is never changed, whatever the content says.
        {"photo.jpg", kPNG, "photo.jpg"},
        {"notes", "plain words", "notes"},
        {"dir/", "x", "Untitled Attachment"},
        // Windows paths lose their folders and drive letters as well.
        {"C:\\Users\\bob\\evil.txt", "x", "evil.txt"},
        {"C:evil.txt", "x", "evil.txt"},
        {"..\\..\\up.txt", "x", "up.txt"},
    };
    for (const auto& [name, content, expected] : cases) {
        auto a = m->addAttachment(name, content);
        a->setMimeType("image/png");
        a->setContentId("<cid@x>");
        auto e = AttachmentExporter::create(a);
        ASSERT_TRUE(e);
        EXPECT_EQ(e->filename(), expected) << name.value_or("(none)");
        EXPECT_EQ(e->data()->str(), content);
        EXPECT_TRUE(e->data()->sharesBufferWith(*a->rawData()));
        EXPECT_EQ(e->mimeType(), "image/png");
        EXPECT_EQ(e->metadata(), Dictionary::parse(R"({"filename": ")" + expected +
                                                   R"(", "Content-Type": "image/png",
                                                   "Content-ID": "<cid@x>"})"));
    }
    EXPECT_FALSE(AttachmentExporter::create(m->addAttachment("empty.txt", std::nullopt)));
    EXPECT_FALSE(AttachmentExporter::create(nullptr));

    auto fromData = AttachmentExporter::create(Bytes::fromString(kPNG), "image001");
    EXPECT_EQ(fromData->filename(), "image001.png");
    EXPECT_FALSE(fromData->mimeType());
    EXPECT_EQ(fromData->metadata(), Dictionary::parse(R"({"filename": "image001.png"})"));
    const auto part = fromData->messagePart();
    EXPECT_EQ(part->contentType(), "image/png");
    EXPECT_EQ(part->headers().firstHeaderForKey("Content-Disposition"),
              "attachment; filename=\"image001.png\"");
    EXPECT_EQ(fromData->messagePart(), part);
}

TEST(SafeFilename, NamesNeverLeaveTheFolder) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"../../x", "_.._.._x"},
        {"/etc/passwd", "_etc_passwd"},
        {"a\\b", "a_b"},
        {"..", "Untitled"},
        {".", "Untitled"},
        {".hidden", "_.hidden"},
        {"tab\there\nnew\x7F", "tab_here_new_"},
        {"", "Untitled"},
        {"trailing. . ", "trailing"},
        {"caf\xC3\xA9.txt", "caf\xC3\xA9.txt"},
        {"bad\xFF.txt", "bad\xEF\xBF\xBD.txt"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(safeFilename(in), out) << in;

    // Long names are cut on a character boundary and keep their extension.
    std::string longName;
    for (int i = 0; i < 150; ++i)
        longName += "\xC3\xA9";
    const std::string cut = safeFilename(longName + ".docx");
    EXPECT_LE(cut.size(), 200u);
    EXPECT_TRUE(cut.ends_with(".docx"));
    EXPECT_TRUE(isValidUTF8(cut));

    EXPECT_EQ(numberedFilename("a.txt", 1), "a.txt");
    EXPECT_EQ(numberedFilename("a.txt", 2), "a (2).txt");
    EXPECT_EQ(numberedFilename("README", 3), "README (3)");
}

}  // namespace
}  // namespace qb
