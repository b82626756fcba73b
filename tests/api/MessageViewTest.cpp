// SPDX-License-Identifier: Apache-2.0
// The view as a page that opens on its own, and as View.html beside extract's files.
#include "api/MessageView.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "api/ExportToFolder.h"
#include "mailkit/Base64.h"
#include "platform/FileIcon.h"
#include "support/FakeMessage.h"
#include "support/HtmlQuery.h"
#include "support/LogCapture.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::FakeMessage;
using test::HtmlQuery;

const std::string kPNG = std::string("\x89PNG\r\n\x1a\n", 8) + "picture";

// A message whose HTML body shows one attached picture by content id and names another
// that is not there, with a document attached as well.
MessageViewOptions noIcons() {
    MessageViewOptions options;
    options.iconSource = nullptr;
    return options;
}

std::shared_ptr<FakeMessage> messageWithPicture() {
    auto m = FakeMessage::make();
    m->messageClass_ = "IPM.Note";
    m->subject_ = "Logo & more";
    m->mimeHtml =
        "<html><body><p>See <img src=\"cid:Logo%40Example\"> and <img src=\"cid:gone@x\"></p>"
        "<table background=\"CID:logo@example\"><tr><td>t</td></tr></table></body></html>";
    m->addAttachment("logo.png", kPNG)->setContentId("<logo@example>");
    m->addAttachment("a b.pdf", "%PDF-1.4 document");
    return m;
}

// The view without attachment pictures, unless the options ask for them.
std::string viewOf(const std::shared_ptr<FakeMessage>& m, MessageViewOptions options = noIcons()) {
    return messageViewHTML(TNEFMessageExporter::create(m, nullptr, ExportMode::Files), options)
        .value_or("");
}

std::vector<std::string> links(const HtmlQuery& page) {
    std::vector<std::string> out;
    for (xmlNode* a : page.elements("a", "qbx-attachment"))
        out.push_back(HtmlQuery::attribute(a, "href"));
    return out;
}

TEST(MessageView, PicturesAreInlinedAndTheStyleEmbedded) {
    const HtmlQuery page(viewOf(messageWithPicture()));
    ASSERT_TRUE(page.ok());
    auto images = page.elements("img");
    ASSERT_EQ(images.size(), 2u);
    const std::string inlined = "data:image/png;base64," + base64EncodedString(kPNG);
    EXPECT_EQ(HtmlQuery::attribute(images[0], "src"), inlined);
    EXPECT_EQ(HtmlQuery::attribute(images[1], "src"), "cid:gone@x");  // nothing to show
    // The first table is the header table; the body's comes after it.
    EXPECT_EQ(HtmlQuery::attribute(page.elements("table").at(1), "background"), inlined);

    xmlNode* head = page.elements("head").at(0);
    auto styles = page.elements("style", "", head);
    ASSERT_EQ(styles.size(), 1u);
    EXPECT_NE(HtmlQuery::text(styles[0]).find("prefers-color-scheme: dark"), std::string::npos);
    EXPECT_NE(HtmlQuery::text(styles[0]).find("@media print"), std::string::npos);
    EXPECT_TRUE(page.elements("link", "", head).empty());
    EXPECT_EQ(HtmlQuery::text(page.elements("title", "", head).at(0)), "Logo & more");
    // Links stay for an application to follow when nothing else is given.
    EXPECT_EQ(links(page), (std::vector<std::string>{"quillbox://0", "quillbox://1"}));
}

TEST(MessageView, LinksAndStylesheetAsAsked) {
    MessageViewOptions options = noIcons();
    options.stylesheetPath = "mail.css";
    options.attachmentLinks = {std::nullopt, "files/a%20b.pdf"};
    options.pictureURL = [](const std::string& id) -> std::optional<std::string> {
        if (id == "logo@example") return "files/logo.png";
        return std::nullopt;
    };
    const HtmlQuery page(viewOf(messageWithPicture(), options));
    EXPECT_EQ(links(page), (std::vector<std::string>{"quillbox://0", "files/a%20b.pdf"}));
    EXPECT_EQ(HtmlQuery::attribute(page.elements("img").at(0), "src"), "files/logo.png");
    xmlNode* head = page.elements("head").at(0);
    EXPECT_TRUE(page.elements("style", "", head).empty());
    ASSERT_EQ(page.elements("link", "", head).size(), 1u);
    EXPECT_EQ(HtmlQuery::attribute(page.elements("link", "", head)[0], "href"), "mail.css");

    // Only the template's own links are rewritten: the sender's are left alone.
    auto m = messageWithPicture();
    m->mimeHtml =
        "<p><a class=\"qbx-attachment\" href=\"quillbox://1x\">a</a>"
        "<a href=\"quillbox://1\">b</a></p>";
    const HtmlQuery own(viewOf(m, options));
    auto anchors = own.elements("a");
    ASSERT_EQ(anchors.size(), 4u);
    EXPECT_EQ(HtmlQuery::attribute(anchors[0], "href"), "quillbox://1x");
    EXPECT_EQ(HtmlQuery::attribute(anchors[1], "href"), "quillbox://1");
    EXPECT_EQ(HtmlQuery::attribute(anchors[3], "href"), "files/a%20b.pdf");
}

TEST(MessageView, LinkCostIsKnownBeforeTheView) {
    auto m = messageWithPicture();
    auto exporter = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    int asked = 0;
    const FileIconSource icons = [&](std::string_view) -> std::optional<Bytes> {
        ++asked;
        return Bytes::fromString(std::string(3000, 'p'));
    };
    const uint64_t withIcons = attachmentLinksSize(*exporter, icons);
    EXPECT_EQ(asked, 2);  // png and pdf
    EXPECT_GE(withIcons, 2u * 4000u);
    EXPECT_LT(attachmentLinksSize(*exporter, {}), 2000u);
    MessageViewOptions options;
    options.iconSource = icons;
    EXPECT_LE(viewOf(m, options).size(), withIcons + 4 * base64EncodedString(kPNG).size() + 8000);
}

TEST(MessageView, AttachmentsShowTheDesktopIconOfTheirType) {
    const auto pdfIcon = fileTypeIconPNG("x.pdf");
    if (!pdfIcon) GTEST_SKIP() << "no icon module";
    const HtmlQuery page(viewOf(messageWithPicture(), MessageViewOptions{}));
    auto icons = page.elements("img", "qbx-attachment-icon");
    ASSERT_EQ(icons.size(), 2u);
    EXPECT_EQ(HtmlQuery::attribute(icons[1], "src"),
              "data:image/png;base64," + base64EncodedString(pdfIcon->view()));
    EXPECT_EQ(pdfIcon->view().substr(0, 8), std::string_view("\x89PNG\r\n\x1a\n", 8));
    // Different types, different pictures.
    EXPECT_NE(HtmlQuery::attribute(icons[0], "src"), HtmlQuery::attribute(icons[1], "src"));
}

class ExtractView : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("qb-view"); }
    void TearDown() override { fs::remove_all(dir_); }
    fs::path dir_;
};

TEST_F(ExtractView, ViewLinksTheFilesExtractWrote) {
    auto m = messageWithPicture();
    m->addAttachment("a b.pdf", "second document");
    m->addAttachment("View.html", "<p>an attachment of that name</p>");
    auto result = exportToFolder(m, dir_.string(), "msg");
    ASSERT_TRUE(result);
    ASSERT_TRUE(result->complete);

    std::vector<std::string> names;
    for (const auto& f : result->files)
        names.push_back(fs::path(f.path).filename().string());
    // After the attachments, before the descriptions; the view keeps its name.
    ASSERT_GE(names.size(), 4u);
    EXPECT_EQ(std::vector<std::string>(names.end() - 3, names.end()),
              (std::vector<std::string>{"View.html", "metadata.json", "manifest.json"}));
    EXPECT_EQ(result->files[names.size() - 3].exporter, "QBMailTemplate");
    EXPECT_NE(std::find(names.begin(), names.end(), "View (2).html"), names.end());
    const std::string manifest = test::slurp(fs::path(result->folder) / "manifest.json");
    EXPECT_NE(manifest.find("\"file\": \"View.html\""), std::string::npos);
    EXPECT_NE(manifest.find("\"exporter\": \"QBMailTemplate\""), std::string::npos);

    const HtmlQuery page(test::slurp(fs::path(result->folder) / "View.html"));
    EXPECT_EQ(links(page), (std::vector<std::string>{"logo.png", "a%20b.pdf", "a%20b%20%282%29.pdf",
                                                     "View%20%282%29.html"}));
    for (const auto& link : {"a b (2).pdf", "View (2).html"})
        EXPECT_TRUE(fs::exists(fs::path(result->folder) / link)) << link;
    EXPECT_EQ(HtmlQuery::attribute(page.elements("img").at(0), "src"), "logo.png");
}

TEST_F(ExtractView, AViewPastTheOutputBudgetIsLeftOutWithALogLine) {
    auto m = messageWithPicture();
    FolderExportOptions options;
    options.iconSource = nullptr;
    // Room for the body and the attachments, not for the view as well.
    options.outputBudget = 1400;
    test::LogCapture log;
    auto result = exportToFolder(m, dir_.string(), "msg", options);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->complete);
    EXPECT_FALSE(fs::exists(fs::path(result->folder) / "View.html"));
    EXPECT_TRUE(fs::exists(fs::path(result->folder) / "a b.pdf"));
    EXPECT_TRUE(fs::exists(fs::path(result->folder) / "manifest.json"));
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0], "View.html left out: it would pass the output budget of 1400 bytes");

    // Attachments whose pictures alone would pass it: the view is not even built.
    int drawn = 0;
    options.outputBudget = 5000;
    options.iconSource = [&](std::string_view) -> std::optional<Bytes> {
        ++drawn;
        return Bytes::fromString(std::string(4000, 'i'));
    };
    log.lines.clear();
    auto second = exportToFolder(m, dir_.string(), "msg", options);
    ASSERT_TRUE(second);
    EXPECT_FALSE(fs::exists(fs::path(second->folder) / "View.html"));
    EXPECT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(drawn, 2);  // measured once per type, never drawn into a page
}

}  // namespace
}  // namespace qb
