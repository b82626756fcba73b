// SPDX-License-Identifier: Apache-2.0
#include "exporters/QBMailTemplate.h"

#include <gtest/gtest.h>

#include "exporters/HTMLExporter.h"
#include "exporters/PlainTextExporter.h"
#include "exporters/RTFExporter.h"
#include "mailkit/Base64.h"
#include "platform/Localized.h"
#include "support/FakeMessage.h"
#include "support/HtmlQuery.h"
#include "support/LogCapture.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::FakeMessage;
using test::HtmlQuery;

std::shared_ptr<FakeMessage> note() {
    auto m = FakeMessage::make();
    m->messageClass_ = "IPM.Note";
    return m;
}

std::string render(const std::shared_ptr<FakeMessage>& m,
                   const std::function<void(QBMailTemplate&)>& configure = {}) {
    QBMailTemplate view(TNEFMessageExporter::create(m, nullptr, ExportMode::Files));
    view.iconSource = nullptr;  // the tests that want pictures give their own
    view.dateLocale = "en_US";
    view.dateTimeZone = "UTC";
    if (configure) configure(view);
    return view.appliedTemplate().value_or("");
}

// The header rows as "label|value" lines, in order.
std::vector<std::string> headerRows(const HtmlQuery& page) {
    std::vector<std::string> rows;
    xmlNode* table = page.elements("table").empty() ? nullptr : page.elements("table").front();
    for (xmlNode* row : HtmlQuery::children(table)) {
        auto cells = HtmlQuery::children(row);
        EXPECT_EQ(cells.size(), 2u);
        EXPECT_EQ(HtmlQuery::attribute(cells.at(0), "class"), "header_key");
        EXPECT_EQ(HtmlQuery::attribute(cells.at(1), "class"), "header_value");
        rows.push_back(HtmlQuery::text(cells.at(0)) + "|" + HtmlQuery::text(cells.at(1)));
    }
    return rows;
}

TEST(QBMailTemplate, LayoutHeaderRowsAndAddresses) {
    auto m = note();
    m->sender_ = test::address("Ann Example", "ann@example.com");
    m->subject_ = "Quarterly numbers";
    m->date_ = dateFromComponents(2009, 4, 22, 14, 36, 33);
    m->to = {test::address("Bob", "bob@example.com"), test::address("", "carol@example.com")};
    m->cc = {test::address("Dan", "dan@example.com")};
    m->mimeHtml = "<html><head><title>t</title></head><body><p>Hello</p></body></html>";
    const HtmlQuery page(render(m));
    ASSERT_TRUE(page.ok());

    // Headers first, then the body; the wrapping div carries the table's id as well.
    xmlNode* body = page.elements("body").at(0);
    auto blocks = HtmlQuery::children(body);
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(HtmlQuery::attribute(blocks[0], "id"), "qbx-ql-headers");
    EXPECT_EQ(HtmlQuery::attribute(blocks[1], "id"), "qbx-ql-inner-mail");
    ASSERT_EQ(HtmlQuery::children(blocks[0]).size(), 1u);
    EXPECT_EQ(HtmlQuery::attribute(HtmlQuery::children(blocks[0])[0], "id"), "qbx-ql-headers");
    EXPECT_EQ(HtmlQuery::text(blocks[1]), "Hello");

    const auto rows = headerRows(page);
    ASSERT_EQ(rows.size(), 5u);  // no BCC row without Bcc recipients
    EXPECT_EQ(rows[0], "From:|Ann Example <ann@example.com>");
    EXPECT_EQ(rows[1], "Subject:|Quarterly numbers");
    EXPECT_EQ(rows[2].substr(0, 19), "Date:|Apr 22, 2009,");  // ICU medium style
    EXPECT_NE(rows[2].find("2:36:33"), std::string::npos) << rows[2];
    EXPECT_EQ(rows[3], "To:|Bob <bob@example.com>, carol@example.com");
    EXPECT_EQ(rows[4], "CC:|Dan <dan@example.com>");
    // Each address is a span of its own; the separators are text between them.
    auto spans = page.elements("span", "qbx-ql-address");
    ASSERT_EQ(spans.size(), 4u);
    EXPECT_EQ(HtmlQuery::text(spans[2]), "carol@example.com");
    // The body's own head is kept.
    EXPECT_EQ(HtmlQuery::text(page.elements("title").at(0)), "t");
}

TEST(QBMailTemplate, EmptyValuesShowPlaceholdersOnlyWhenAsked) {
    auto m = note();
    m->mimeBody = "text";
    EXPECT_TRUE(headerRows(HtmlQuery(render(m))).empty());
    const auto rows =
        headerRows(HtmlQuery(render(m, [](QBMailTemplate& v) { v.displayEmptyValues = true; })));
    EXPECT_EQ(rows, (std::vector<std::string>{"From:|(No Sender)", "Subject:|(No Subject)",
                                              "To:|(No Recipient)"}));

    // A sender without any text is no sender; an empty subject is no subject; a present
    // value is never replaced.
    m->sender_ = test::address("", "");
    m->to = {test::address("", ""), test::address("", "x@example.com")};
    EXPECT_EQ(headerRows(HtmlQuery(render(m))), (std::vector<std::string>{"To:|x@example.com"}));
    m->to.clear();
    m->subject_ = "";
    EXPECT_TRUE(headerRows(HtmlQuery(render(m))).empty());
    m->subject_ = "s";
    EXPECT_EQ(
        headerRows(HtmlQuery(render(m, [](QBMailTemplate& v) { v.displayEmptyValues = true; })))
            .at(1),
        "Subject:|s");
}

TEST(QBMailTemplate, LabelsAndPlaceholdersComeFromTheStringTable) {
    auto m = note();
    m->subject_ = "Betreff";
    m->to = {test::address("", "a@x.de"), test::address("", "b@x.de")};
    setLocalizedTable({{"Subject:", "Betreff:"},
                       {"(No Sender)", "(Kein Absender)"},
                       {", ", "; "},
                       {"This message has no content.", "Diese Nachricht ist leer."}});
    const std::string withBody = render(m, [](QBMailTemplate& v) { v.displayEmptyValues = true; });
    const std::string empty = render(m);
    setLocalizedTable({});
    const auto rows = headerRows(HtmlQuery(withBody));
    EXPECT_EQ(rows, (std::vector<std::string>{"From:|(Kein Absender)", "Betreff:|Betreff",
                                              "To:|a@x.de; b@x.de"}));
    EXPECT_NE(empty.find("Diese Nachricht ist leer."), std::string::npos);
}

TEST(QBMailTemplate, BodyWithoutContent) {
    // Nothing at all: a grey italic sentence under the headers.
    auto m = note();
    m->subject_ = "nothing";
    const HtmlQuery page(render(m));
    xmlNode* inner = page.byId("qbx-ql-inner-mail");
    ASSERT_TRUE(inner);
    auto italic = page.elements("i", "", inner);
    ASSERT_EQ(italic.size(), 1u);
    auto font = HtmlQuery::children(italic[0]);
    ASSERT_EQ(font.size(), 1u);
    EXPECT_EQ(HtmlQuery::attribute(font[0], "color"), "#888888");
    EXPECT_EQ(HtmlQuery::text(inner), "This message has no content.");

    // Attachments are content: no sentence, just the links.
    m->addAttachment("a.txt", "x");
    const HtmlQuery withFile(render(m));
    EXPECT_EQ(withFile.elements("i").size(), 0u);
    EXPECT_EQ(HtmlQuery::text(withFile.byId("qbx-ql-inner-mail")), "a.txt");
}

TEST(QBMailTemplate, PlainTextLinesBecomeLineBreaksAndStayText) {
    auto m = note();
    m->mimeBody = "a\nb";
    const HtmlQuery page(render(m));
    auto parts = HtmlQuery::children(page.byId("qbx-ql-inner-mail"));
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_TRUE(isElement(parts[0], "br"));
    EXPECT_EQ(HtmlQuery::text(page.byId("qbx-ql-inner-mail")), "ab");
    EXPECT_NE(render(m).find("a<br>b"), std::string::npos);

    // Markup in a plain body is shown as written, never run.
    m->mimeBody = "x < y & <script>alert(1)</script>";
    const HtmlQuery escaped(render(m));
    EXPECT_TRUE(escaped.elements("script").empty());
    EXPECT_EQ(HtmlQuery::text(escaped.byId("qbx-ql-inner-mail")),
              "x < y & <script>alert(1)</script>");
}

TEST(QBMailTemplate, AttachmentLinksCountFromZeroWithOneIconPerType) {
    auto m = note();
    m->mimeBody = "see attached";
    m->addAttachment("report.pdf", "%PDF-1.4");
    m->addAttachment("notes.TXT", "one");
    m->addAttachment("more.txt", "two");
    std::vector<std::string> asked;
    const HtmlQuery page(render(m, [&](QBMailTemplate& v) {
        v.iconSource = [&](std::string_view name) -> std::optional<Bytes> {
            asked.emplace_back(name);
            return Bytes::fromString("PNG:" + std::string(name));
        };
    }));
    // Drawn once per extension, whatever its case.
    EXPECT_EQ(asked, (std::vector<std::string>{"report.pdf", "notes.TXT"}));

    xmlNode* inner = page.byId("qbx-ql-inner-mail");
    auto parts = HtmlQuery::children(inner);
    ASSERT_EQ(parts.size(), 4u);  // the line break, then one link per attachment
    EXPECT_TRUE(isElement(parts[0], "br"));
    const std::vector<std::string> names{"report.pdf", "notes.TXT", "more.txt"};
    for (size_t i = 0; i < names.size(); ++i) {
        xmlNode* link = parts[i + 1];
        EXPECT_EQ(HtmlQuery::attribute(link, "class"), "qbx-attachment");
        EXPECT_EQ(HtmlQuery::attribute(link, "href"), "quillbox://" + std::to_string(i));
        auto box = HtmlQuery::children(link);
        ASSERT_EQ(box.size(), 1u);
        EXPECT_EQ(HtmlQuery::attribute(box[0], "class"), "qbx-attachment");
        auto content = HtmlQuery::children(box[0]);
        ASSERT_EQ(content.size(), 2u);
        EXPECT_EQ(HtmlQuery::attribute(content[0], "class"), "qbx-attachment-icon");
        EXPECT_EQ(HtmlQuery::attribute(content[1], "class"), "qbx-attachment-filename");
        EXPECT_EQ(HtmlQuery::text(content[1]), names[i]);
    }
    const std::string icon =
        HtmlQuery::attribute(HtmlQuery::children(HtmlQuery::children(parts[3])[0])[0], "src");
    EXPECT_EQ(icon, "data:image/png;base64," + base64EncodedString("PNG:notes.TXT"));

    // Without an icon the picture is left out; the name stays.
    const HtmlQuery plain(render(m));
    EXPECT_TRUE(plain.elements("img").empty());
    EXPECT_EQ(plain.elements("div", "qbx-attachment-filename").size(), 3u);
}

TEST(QBMailTemplate, StylesheetAndAlert) {
    auto m = note();
    m->mimeBody = "body";
    const HtmlQuery page(render(m, [](QBMailTemplate& v) {
        v.stylesheetPath = "file:///tmp/view.css";
        v.alertHTML = "<p class=\"warn\">Remote content <b>blocked</b></p>";
    }));
    auto links = page.elements("link", "", page.elements("head").at(0));
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(HtmlQuery::attribute(links[0], "rel"), "StyleSheet");
    EXPECT_EQ(HtmlQuery::attribute(links[0], "type"), "text/css");
    EXPECT_EQ(HtmlQuery::attribute(links[0], "href"), "file:///tmp/view.css");
    auto blocks = HtmlQuery::children(page.elements("body").at(0));
    ASSERT_EQ(blocks.size(), 3u);
    EXPECT_EQ(HtmlQuery::attribute(blocks[0], "id"), "qbx-alert");
    EXPECT_EQ(HtmlQuery::text(blocks[0]), "Remote content blocked");
    EXPECT_EQ(HtmlQuery::attribute(blocks[1], "id"), "qbx-ql-headers");

    // An alert that is no XML is left out without a word.
    const HtmlQuery bad(render(m, [](QBMailTemplate& v) { v.alertHTML = "just text"; }));
    EXPECT_FALSE(bad.byId("qbx-alert"));
    EXPECT_EQ(HtmlQuery::children(bad.elements("body").at(0)).size(), 2u);
}

TEST(QBMailTemplate, BodyChoicePrefersHTMLMadeFromRTF) {
    auto plainMessage = note();
    plainMessage->mimeBody = "plain";
    auto htmlMessage = note();
    htmlMessage->mimeHtml = "<p>html</p>";
    auto rtfHtml = note();
    rtfHtml->borrowPropertiesOf(test::messageWithProps(test::PropsWriter().binary(
        0x1009, test::compressedRTF("{\\rtf1\\ansi\\fromhtml1 {\\*\\htmltag19 <html><body>}"
                                    "from rtf{\\*\\htmltag27 </body></html>}}"))));
    const QBExporterPtr plain = PlainTextExporter::create(plainMessage);
    const QBExporterPtr html = HTMLExporter::create(htmlMessage);
    const auto rtf = RTFExporter::create(rtfHtml);
    ASSERT_TRUE(plain && html && rtf);
    ASSERT_EQ(rtf->mimeType(), "text/html");

    EXPECT_EQ(QBMailTemplate::chooseBestExporter({plain, html, rtf}), rtf);
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({rtf, html, plain}), rtf);
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({plain, html}), html);
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({plain}), plain);
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({}), nullptr);
    // RTF that stayed RTF is nothing a page can show.
    rtf->setMimeType("text/rtf");
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({plain, rtf}), plain);
    EXPECT_EQ(QBMailTemplate::chooseBestExporter({rtf}), nullptr);

    // The message exporter of an RTF message shows the RTF's HTML.
    const HtmlQuery page(render(rtfHtml));
    EXPECT_EQ(HtmlQuery::text(page.byId("qbx-ql-inner-mail")), "from rtf");
}

TEST(QBMailTemplate, TextIsMadeSafeForTheDocument) {
    auto m = note();
    m->subject_ = std::string("bell\x07 and bad \xFF byte");
    m->mimeBody = "x";
    const auto rows = headerRows(HtmlQuery(render(m)));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], "Subject:|bell and bad \xEF\xBF\xBD byte");
}

}  // namespace
}  // namespace qb
