// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <fstream>

#include "support/HtmlQuery.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::HtmlQuery;

class ViewCommand : public testing::Test {
  protected:
    void SetUp() override {
        dir_ = test::makeTestFolder("view-command");
        std::ofstream(dir_ / "winmail.dat", std::ios::binary) << test::sampleWinmail();
    }
    void TearDown() override { fs::remove_all(dir_); }
    int run(const std::string& args, const char* command = "view") {
        const std::string cmd = "cd " + dir_.string() + " && " + QB_QUILLBOX_PATH + " " + command +
                                " " + args + " >stdout 2>stderr";
        const int raw = std::system(cmd.c_str());
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
    std::string out(const std::string& name) { return test::slurp(dir_ / name); }
    fs::path dir_;
};

TEST_F(ViewCommand, PageWithAttachmentsWrittenBesideIt) {
    fs::create_directory(dir_ / "pages");
    ASSERT_EQ(run("winmail.dat -o pages/view.html --attachments files"), 0) << out("stderr");
    const HtmlQuery page(out("pages/view.html"));
    ASSERT_TRUE(page.ok());
    std::vector<std::string> hrefs;
    for (xmlNode* a : page.elements("a", "qbx-attachment"))
        hrefs.push_back(HtmlQuery::attribute(a, "href"));
    ASSERT_EQ(hrefs.size(), 3u);
    EXPECT_EQ(hrefs[0], "../files/notes.txt");
    EXPECT_EQ(hrefs[1], "../files/pixel.png");
    EXPECT_EQ(hrefs[2], "../files/Quarterly%20report%20%28forwarded%29.eml");
    EXPECT_TRUE(fs::exists(dir_ / "files" / "Quarterly report (forwarded).eml"));
    // Each attachment written is listed, as extract lists them.
    EXPECT_NE(out("stdout").find("files/notes.txt\n"), std::string::npos);
    EXPECT_EQ(out("files/notes.txt"), "Numbers for Q1 are final.\n");
    // The header table names the sender; the page embeds its style.
    EXPECT_NE(HtmlQuery::text(page.byId("qbx-ql-headers")).find("joerg.mueller@example.de"),
              std::string::npos);
    size_t builtIn = 0;
    for (xmlNode* style : page.elements("style"))
        builtIn += HtmlQuery::text(style).find("qbx-ql-headers") != std::string::npos;
    EXPECT_EQ(builtIn, 1u);

    // Again into the same folder: nothing there is replaced, the new files are numbered.
    ASSERT_EQ(run("winmail.dat -o again.html --attachments files"), 0) << out("stderr");
    const HtmlQuery again(out("again.html"));
    EXPECT_EQ(HtmlQuery::attribute(again.elements("a", "qbx-attachment").at(0), "href"),
              "files/notes%20%282%29.txt");
}

TEST_F(ViewCommand, StandardOutputStylesheetAndPlaceholders) {
    ASSERT_EQ(run("winmail.dat --stylesheet my.css"), 0) << out("stderr");
    const std::string page = out("stdout");
    EXPECT_EQ(page.rfind("<!DOCTYPE", 0), 0u) << page.substr(0, 100);
    const HtmlQuery parsed(page);
    for (xmlNode* style : parsed.elements("style"))  // the body's own style stays
        EXPECT_EQ(HtmlQuery::text(style).find("qbx-ql-headers"), std::string::npos);
    ASSERT_EQ(parsed.elements("link").size(), 1u);
    EXPECT_EQ(HtmlQuery::attribute(parsed.elements("link")[0], "href"), "my.css");
    EXPECT_EQ(HtmlQuery::attribute(parsed.elements("a", "qbx-attachment").at(0), "href"),
              "quillbox://0");

    // A message with nothing but a class: placeholders only when asked.
    std::ofstream(dir_ / "bare.tnef", std::ios::binary)
        << test::TNEFWriter().version().messageClass("IPM.Note").str();
    ASSERT_EQ(run("bare.tnef -o bare.html"), 0) << out("stderr");
    EXPECT_EQ(out("bare.html").find("(No Subject)"), std::string::npos);
    ASSERT_EQ(run("bare.tnef -o bare.html --show-empty"), 0) << out("stderr");
    EXPECT_NE(out("bare.html").find("(No Subject)"), std::string::npos);
    EXPECT_NE(out("bare.html").find("This message has no content."), std::string::npos);
}

TEST_F(ViewCommand, NonLatinHeadersAndBodiesKeepTheirCharacters) {
    // Japanese in Shift-JIS, Chinese in GB2312 and Russian in Windows-1251, by font charset.
    const std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0\\fcharset128 MS Gothic;}"
        "{\\f1\\fcharset134 SimSun;}{\\f2\\fcharset204 Arial;}}"
        "\\f0 \\'93\\'fa\\'96\\'7b\\'8c\\'ea\\par\\f1 \\'d6\\'d0\\'ce\\'c4\\par"
        "\\f2 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2\\par}";
    const std::string subject =
        "\u65E5\u672C\u8A9E \u4E2D\u6587 \u041F\u0440\u0438\u0432\u0435\u0442";
    test::PropsWriter props;
    props.unicode(0x0037, subject).binary(0x1009, test::compressedRTF(rtf));
    std::ofstream(dir_ / "scripts.tnef", std::ios::binary)
        << test::TNEFWriter().version().messageClass("IPM.Note").mapiProps(props).str();
    ASSERT_EQ(run("scripts.tnef -o scripts.html"), 0) << out("stderr");
    const HtmlQuery page(out("scripts.html"));
    ASSERT_TRUE(page.ok());
    EXPECT_EQ(HtmlQuery::text(page.elements("td", "header_value").at(0)), subject);
    const std::string body = HtmlQuery::text(page.byId("qbx-ql-inner-mail"));
    for (const char* text :
         {"\u65E5\u672C\u8A9E", "\u4E2D\u6587", "\u041F\u0440\u0438\u0432\u0435\u0442"})
        EXPECT_NE(body.find(text), std::string::npos) << text << " in " << body;
    // The page says it is UTF-8, so that a browser reads it so.
    EXPECT_NE(out("scripts.html").find("charset=UTF-8"), std::string::npos);
}

TEST_F(ViewCommand, APartialReadIsShownAboveTheHeaders) {
    const std::string whole = test::sampleWinmail();
    std::ofstream(dir_ / "cut.dat", std::ios::binary) << whole.substr(0, whole.size() - 40);
    ASSERT_EQ(run("cut.dat -o cut.html"), 3) << out("stderr");
    const HtmlQuery page(out("cut.html"));
    auto blocks = HtmlQuery::children(page.elements("body").at(0));
    ASSERT_EQ(blocks.size(), 3u);
    EXPECT_EQ(HtmlQuery::attribute(blocks[0], "id"), "qbx-alert");
    EXPECT_NE(HtmlQuery::text(blocks[0]).find("This message was read only in part."),
              std::string::npos);
    EXPECT_EQ(page.elements("li", "", blocks[0]).size(), 1u);
    // extract's view says the same.
    ASSERT_EQ(run("cut.dat -o extracted", "extract"), 3) << out("stderr");
    const HtmlQuery extracted(out("extracted/cut/View.html"));
    ASSERT_TRUE(extracted.byId("qbx-alert"));
    EXPECT_EQ(HtmlQuery::text(extracted.byId("qbx-alert")), HtmlQuery::text(blocks[0]));
    // A whole message has no alert.
    ASSERT_EQ(run("winmail.dat -o whole.html"), 0);
    EXPECT_FALSE(HtmlQuery(out("whole.html")).byId("qbx-alert"));
}

TEST_F(ViewCommand, FailuresAreReported) {
    std::ofstream(dir_ / "junk.dat") << "not a message";
    EXPECT_EQ(run("junk.dat -o junk.html"), 1);
    EXPECT_FALSE(fs::exists(dir_ / "junk.html"));
    EXPECT_NE(out("stderr").find("junk.dat"), std::string::npos);
    // A folder that cannot be made fails the input, and says which.
    std::ofstream(dir_ / "taken") << "a file";
    EXPECT_EQ(run("winmail.dat -o v.html --attachments taken/sub"), 1);
    EXPECT_NE(out("stderr").find("taken/sub"), std::string::npos);
}

}  // namespace
}  // namespace qb
