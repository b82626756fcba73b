// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/HTMLExporter.h"
#include "exporters/PlainTextExporter.h"
#include "support/FakeMessage.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::FakeMessage;
using test::PropsWriter;
using test::TNEFWriter;

std::shared_ptr<FakeMessage> withProps(const PropsWriter& props,
                                       const std::string& cls = "IPM.Note") {
    auto m = FakeMessage::make();
    m->messageClass_ = cls;
    m->borrowPropertiesOf(test::messageWithProps(props));
    return m;
}

TEST(PlainTextExporter, BodySourcesInOrder) {
    // The property wins over the attribute; the attribute serves when there is no property.
    auto both = test::readTNEF(TNEFWriter()
                                   .attr(1, 0x800C, 2, "from attribute")
                                   .mapiProps(PropsWriter().string8(0x1000, "from property"))
                                   .str());
    EXPECT_EQ(PlainTextExporter::create(both)->plainText(), "from property");
    auto attrOnly = test::readTNEF(TNEFWriter().attr(1, 0x800C, 2, "from attribute").str());
    EXPECT_EQ(PlainTextExporter::create(attrOnly)->plainText(), "from attribute");

    // A read receipt says what happened, even when a wrapped MIME body has text.
    auto receipt = withProps(PropsWriter().string8(0x1000, ""), "REPORT.IPM.Note.IPNRN");
    receipt->mimeBody = "wrapped";
    EXPECT_EQ(PlainTextExporter::create(receipt)->plainText(), "The message was read.\r\n");
    auto ndr = FakeMessage::make();
    ndr->messageClass_ = "IPM.Microsoft Mail.Non-Delivery";
    EXPECT_EQ(PlainTextExporter::create(ndr)->plainText(), "The message was not delivered.\r\n");

    // An empty body counts as none: the wrapped MIME body, else no exporter.
    auto empty = withProps(PropsWriter().string8(0x1000, ""));
    EXPECT_FALSE(PlainTextExporter::create(empty));
    empty->mimeBody = "wrapped";
    auto e = PlainTextExporter::create(empty);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->data()->str(), "wrapped");
    EXPECT_EQ(e->metadata(), Dictionary::parse(R"({"filename": "Message.txt",
        "Content-Type": "text/plain", "isFromTextExporter": true})"));
    EXPECT_EQ(e->messagePart()->contentData(), "wrapped");
}

TEST(HTMLExporter, BodyIsRegeneratedInUTF8WithLargerFonts) {
    // Bytes in Windows-1252, named by the internet code page.
    auto m = withProps(PropsWriter()
                           .u32(0x3FDE, 1252)
                           .binary(0x1013,
                                   "<html><body><p style=\"font-size:10pt\">caf\xE9</p>"
                                   "<font size=\"3\">x</font></body></html>"));
    auto e = HTMLExporter::create(m);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->dataEncoding(), kUTF8Encoding);
    const std::string html = e->data()->str();
    EXPECT_NE(html.find("caf\xC3\xA9"), std::string::npos) << html;
    EXPECT_NE(html.find("font-size:12pt"), std::string::npos) << html;
    EXPECT_NE(html.find("<font style=\"font-size: 14pt\">x</font>"), std::string::npos) << html;
    EXPECT_NE(html.find("<body style=\"font-size: 14pt\">"), std::string::npos) << html;
    EXPECT_NE(html.find("charset=UTF-8"), std::string::npos) << html;
    EXPECT_EQ(e->metadata()["isFromTextExporter"], true);
    EXPECT_EQ(e->filename(), "Message.html");
    EXPECT_NE(e->messagePart()->headers().firstHeaderForKey("Content-Type")->find("text/html"),
              std::string::npos);

    // A code page with no encoding leaves the message's own encoding in charge.
    auto unknown = withProps(PropsWriter().u32(0x3FDE, 4242).binary(0x1013, "<p>\xC3\xA9</p>"));
    unknown->encoding_ = kUTF8Encoding;
    EXPECT_NE(HTMLExporter::create(unknown)->data()->str().find("\xC3\xA9"), std::string::npos);

    // A fragment still becomes a whole document.
    auto fragment = withProps(PropsWriter().string8(0x1013, "just <b>bold</b>"));
    const std::string doc = HTMLExporter::create(fragment)->data()->str();
    EXPECT_NE(doc.find("<html>"), std::string::npos) << doc;
    EXPECT_NE(doc.find("<b>bold</b>"), std::string::npos) << doc;
}

TEST(HTMLExporter, FallsBackToTheWrappedMimeBody) {
    auto m = FakeMessage::make();
    EXPECT_FALSE(HTMLExporter::create(m));
    m->mimeHtml = "";
    EXPECT_FALSE(HTMLExporter::create(m));
    m->mimeHtml = "<p>\xE2\x82\xAC</p>";
    auto e = HTMLExporter::create(m);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->data()->str(), "<p>\xE2\x82\xAC</p>");
    EXPECT_EQ(e->dataEncoding(), kUTF8Encoding);
    // The part decodes the bytes in their own encoding.
    EXPECT_NE(e->messagePart()->contentData().find("=E2=82=AC"), std::string::npos);
}

}  // namespace
}  // namespace qb
