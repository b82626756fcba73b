// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/HTMLExporter.h"
#include "exporters/RTFExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "support/FakeMessage.h"
#include "support/LogCapture.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::FakeMessage;
using test::PropsWriter;

std::shared_ptr<FakeMessage> withRTF(std::string_view rtf, PropsWriter props = {}) {
    auto m = FakeMessage::make();
    m->messageClass_ = "IPM.Note";
    props.binary(0x1009, test::compressedRTF(rtf));
    m->borrowPropertiesOf(test::messageWithProps(props));
    return m;
}

bool contains(const std::optional<Bytes>& data, std::string_view text) {
    return data && data->view().find(text) != std::string_view::npos;
}

TEST(RTFExporter, RTFBecomesAPageTwoPointsLarger) {
    auto e = RTFExporter::create(withRTF("{\\rtf1\\fs20 Hello {\\b world}\\par}"));
    ASSERT_TRUE(e);
    EXPECT_EQ(e->mimeType(), "text/html");
    EXPECT_EQ(e->filename(), "Message.html");
    EXPECT_TRUE(contains(e->data(), "font-size: 12pt; font-weight: bold;\">world</span>"));
    ASSERT_TRUE(e->attributedString());
    EXPECT_EQ(e->attributedString()->plainText(), "Hello world\n");
    EXPECT_EQ(
        e->metadata().dump(),
        R"({"filename":"Message.html","Content-Type":"text/html","isFromTextExporter":true})");
    EXPECT_EQ(e->messagePart()->contentType().substr(0, 9), "text/html");
}

TEST(RTFExporter, EncapsulatedHTMLAndTextComeBack) {
    auto html = RTFExporter::create(
        withRTF("{\\rtf1\\ansi\\fromhtml1 {\\*\\htmltag19 <html><body style=\"font-size:10pt\">}"
                "\\htmlrtf RTFONLY\\htmlrtf0 hi{\\*\\htmltag27 </body></html>}}"));
    ASSERT_TRUE(html);
    EXPECT_EQ(html->mimeType(), "text/html");
    EXPECT_TRUE(contains(html->data(), "font-size:12pt"));  // the same font step as HTML bodies
    EXPECT_TRUE(contains(html->data(), ">hi</body>"));
    EXPECT_FALSE(contains(html->data(), "RTFONLY"));

    auto text = RTFExporter::create(withRTF("{\\rtf1\\ansi\\fromtext \\pard a < b\\par c\\par}"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->mimeType(), "text/html");
    EXPECT_TRUE(contains(text->data(),
                         "<p><span style=\"font-size: 14pt;\">a &lt; b</span></p>\n"
                         "<p><span style=\"font-size: 14pt;\">c</span></p>"));
}

TEST(RTFExporter, PicturesAreInlinedAsDataURIs) {
    auto e =
        RTFExporter::create(withRTF("{\\rtf1 see {\\*\\shppict{\\pict\\pngblip\\bin3 "
                                    "PNG}}{\\nonshppict{\\pict\\wmetafile8\\bin1 W}} "
                                    "and {\\pict\\pngblip 4142}}"));
    ASSERT_TRUE(e);
    EXPECT_EQ(e->mimeType(), "text/html");
    // The binary picture goes through the picture document; the hex one is read directly.
    EXPECT_TRUE(contains(e->data(), "<img src=\"data:image/jpg;base64,UE5H\" alt=\"IMG1.png\">"));
}

TEST(RTFExporter, NoBodyNoExporter) {
    EXPECT_FALSE(RTFExporter::create(withRTF("")));
    EXPECT_FALSE(RTFExporter::create(FakeMessage::make()));
    // What is not RTF at all is given as it is.
    auto raw = RTFExporter::create(withRTF("not rich text"));
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->mimeType(), "text/rtf");
    EXPECT_EQ(raw->filename(), "Message.rtf");
    EXPECT_EQ(raw->data()->view(), "not rich text");
}

TEST(MessageExporterRTF, AnRTFBodyTakesThePlaceOfTheHTMLBody) {
    auto m = withRTF("{\\rtf1 rich\\par}",
                     PropsWriter().string8(0x1000, "plain").binary(0x1013, "<p>html</p>"));
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    ASSERT_EQ(e->textExporters().size(), 2u);
    EXPECT_EQ(e->textExporters()[0]->mimeType(), "text/plain");
    EXPECT_TRUE(std::dynamic_pointer_cast<RTFExporter>(e->textExporters()[1]));

    // Nested, the page is the HTML alternative of the serialised message.
    auto outer = FakeMessage::make();
    auto nested = withRTF("{\\rtf1 inner rich\\par}", PropsWriter().string8(0x1000, "inner plain"));
    nested->subject_ = "inner";
    outer->addAttachment("inner.msg", std::nullopt, nested);
    auto top = TNEFMessageExporter::create(outer, nullptr, ExportMode::Files);
    ASSERT_EQ(top->attachmentExporters().size(), 1u);
    const auto eml = top->attachmentExporters()[0]->data()->str();
    EXPECT_NE(eml.find("multipart/alternative"), std::string::npos);
    EXPECT_NE(eml.find("inner rich"), std::string::npos);
}

TEST(MessageExporterRTF, PicturesOfABodyWithoutPageComeFirstAmongAttachments) {
    // A picture document whose text is no RTF gives no page; its pictures become files.
    test::LogCapture log;
    auto m = withRTF("{\\pict\\pngblip\\bin3 PNG}} {\\rtf1 x}");
    m->addAttachment("a.txt", "file");
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    for (const auto& t : e->textExporters())
        EXPECT_FALSE(std::dynamic_pointer_cast<RTFExporter>(t));
    ASSERT_EQ(e->attachmentExporters().size(), 2u);
    EXPECT_EQ(e->attachmentExporters()[0]->filename(), "IMG1.png");
    EXPECT_EQ(e->attachmentExporters()[0]->data()->view(), "PNG");
    EXPECT_EQ(e->attachmentExporters()[1]->filename(), "a.txt");
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "RTFDocument htmlData FailureReason the document is not rich text"});
}

TEST(HTMLExporterStyledText, TheBodyIsKeptAsStyledTextTwoPointsLarger) {
    auto m = FakeMessage::make();
    m->borrowPropertiesOf(test::messageWithProps(PropsWriter().binary(
        0x1013, "<p><span style=\"font-size:10pt\">small</span> default</p>")));
    auto e = HTMLExporter::create(m);
    ASSERT_TRUE(e);
    const auto styled = e->attributedString();
    ASSERT_TRUE(styled);
    const auto& runs = styled->blocks().at(0).paragraph.runs;
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(styled->attributes(runs[0].attributes).pointSize, 12.0);
    EXPECT_EQ(styled->attributes(runs[1].attributes).pointSize, 14.0);
    EXPECT_EQ(styled->plainText(), "small default\n");
}

}  // namespace
}  // namespace qb
