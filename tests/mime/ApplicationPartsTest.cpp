// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fstream>

#include "mailkit/Base64.h"
#include "mime/ApplicationMimeParts.h"
#include "mime/MimePart.h"
#include "platform/FileIcon.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

MimePartPtr parse(std::string_view text) {
    return MimePart::mimePartForData(Bytes::fromString(text));
}

// The width and height a PNG's header gives; zero for anything that is no PNG.
std::pair<uint32_t, uint32_t> pngSize(const Bytes& png) {
    const std::string_view v = png.view();
    if (v.size() < 24 || v.substr(0, 8) != "\x89PNG\r\n\x1a\n" || v.substr(12, 4) != "IHDR")
        return {0, 0};
    auto u32 = [&](size_t at) {
        return uint32_t(uint8_t(v[at])) << 24 | uint32_t(uint8_t(v[at + 1])) << 16 |
               uint32_t(uint8_t(v[at + 2])) << 8 | uint32_t(uint8_t(v[at + 3]));
    };
    return {u32(16), u32(20)};
}

TEST(ApplicationParts, AnAttachmentShowsItsIconLinkedToTheFile) {
    auto part = parse(
        "Content-Type: application/x-unknown-thing; name=\"notes.qqq\"\r\n"
        "Content-Disposition: attachment; filename=\"notes.qqq\"\r\n"
        "Content-Transfer-Encoding: base64\r\nContent-ID: <file1>\r\n\r\n" +
        base64EncodedString("the file"));
    EXPECT_STREQ(part->className(), "ApplicationMimePart");
    ASSERT_EQ(part->attachments().size(), 1u);
    EXPECT_EQ(part->attachments()[0], part);
    EXPECT_EQ(part->dataContent()->str(), "the file");

    const auto resources = part->webArchiveResources();
    const auto html = part->webArchiveHtmlContent();
    ASSERT_TRUE(html);
    // Made once: a second look gives the same picture under the same fresh ID.
    EXPECT_EQ(part->webArchiveHtmlContent(), html);
    const WebResource& file = resources.back();
    EXPECT_EQ(file.url, "cid:file1");
    EXPECT_EQ(file.data.str(), "the file");
    EXPECT_EQ(file.mimeType, "application/x-unknown-thing");
    EXPECT_EQ(file.textEncodingName, "base64");
    if (!fileIconWithNamePNG("notes.qqq")) {
        // Without the icon module the name alone links to the file.
        EXPECT_EQ(*html, "<a href=\"cid:file1\">notes.qqq</a>");
        EXPECT_EQ(resources.size(), 1u);
        return;
    }
    ASSERT_EQ(resources.size(), 2u);
    const WebResource& icon = resources.front();
    EXPECT_TRUE(icon.url.starts_with("cid:"));
    EXPECT_EQ(icon.url.size(), 4u + 36u);
    EXPECT_EQ(icon.mimeType, "image/png");
    EXPECT_EQ(icon.textEncodingName, "");
    EXPECT_EQ(pngSize(icon.data), std::make_pair(128u, 128u));
    EXPECT_EQ(*html, "<a href=\"cid:file1\"><img src=\"" + icon.url +
                         "\" width=\"128\" style=\"border: 2px dashed #ccc; "
                         "-webkit-border-radius:15px\"/></a>");
}

TEST(ApplicationParts, BodiesByTransferEncodingAndDisposition) {
    auto seven = parse(
        "Content-Type: application/json\r\nContent-Transfer-Encoding: 7bit\r\n"
        "Content-Disposition: inline\r\n\r\n{}");
    EXPECT_EQ(seven->dataContent()->str(), "{}");
    EXPECT_TRUE(seven->attachments().empty());  // inline is no attachment
    auto qp = parse(
        "Content-Type: application/json\r\nContent-Transfer-Encoding: "
        "quoted-printable\r\n\r\n=7B=7D");
    EXPECT_EQ(qp->dataContent(), std::nullopt);

    const auto dir = test::makeTestFolder("quillbox-application-parts");
    std::ofstream(dir / "a.ZIP", std::ios::binary) << "PK\x03\x04";
    auto built = ApplicationMimePart::initWithPathToFile((dir / "a.ZIP").string());
    ASSERT_TRUE(built);
    EXPECT_EQ(built->headers().firstHeaderForKey("Content-Type"),
              "application/zip; name=\"a.ZIP\"");
    EXPECT_EQ(built->headers().firstHeaderForKey("Content-Disposition"),
              "attachment; filename=\"a.ZIP\"");
    EXPECT_EQ(built->dataContent()->str(), "PK\x03\x04");
    EXPECT_EQ(ApplicationMimePart::subtypeForFileAtPath("x.Pdf"), "pdf");
    EXPECT_EQ(ApplicationMimePart::subtypeForFileAtPath("x.doc"), "unknown");
    EXPECT_EQ(ApplicationMimePart::initWithPathToFile((dir / "missing").string()), nullptr);
    std::filesystem::remove_all(dir);
}

TEST(ApplicationParts, APdfShowsItsFirstPageAtMost500Wide) {
    const std::string pdf =
        test::slurp(std::filesystem::path(QB_SOURCE_DIR) / "tests/data/pdf/one-page.pdf");
    ASSERT_FALSE(pdf.empty());
    auto part = parse(
        "Content-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-Disposition: attachment; filename=\"one page.pdf\"\r\n\r\n" +
        base64EncodedString(pdf));
    EXPECT_STREQ(part->className(), "ApplicationPdfMimePart");
    EXPECT_EQ(part->attachments().size(), 1u);
    const auto resources = part->webArchiveResources();
    ASSERT_FALSE(resources.empty());
    const auto html = *part->webArchiveHtmlContent();
    if (html.starts_with("<a href=")) GTEST_SKIP() << "a build without the PDF module";
    ASSERT_EQ(resources.size(), 1u);
    const auto [width, height] = pngSize(resources[0].data);
    EXPECT_GT(width, 0u);
    EXPECT_LE(width, 500u);
    EXPECT_GT(height, 0u);
    // Without a content ID the picture gets a fresh one.
    EXPECT_EQ(resources[0].url.size(), 4u + 36u);
    EXPECT_EQ(html, "<img src=\"" + resources[0].url + "\" width=\"" + std::to_string(width) +
                        "\" />" + "<br />one page.pdf");

    // A document that cannot be read shows as a file with its icon.
    auto broken = parse(
        "Content-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-Disposition: attachment; filename=\"bad.pdf\"\r\nContent-ID: <b>\r\n\r\nJVBERi0x");
    EXPECT_TRUE(broken->webArchiveHtmlContent()->starts_with("<a href=\"cid:b\">"));
}

}  // namespace
}  // namespace qb
