// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <set>

#include "mailkit/Base64.h"
#include "mime/MediaMimeParts.h"
#include "mime/MimeConstants.h"
#include "mime/MimePart.h"
#include "mime/MultipartMimePart.h"
#include "mime/TextMimeParts.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

MimePartPtr parse(std::string_view text) {
    return MimePart::mimePartForData(Bytes::fromString(text));
}

std::string body(const MimePartPtr& part) {
    return part->contentData() ? part->contentData()->str() : "<none>";
}

TEST(MimeRegistry, ExactTypesThenWildcardsThenTheBaseClass) {
    EXPECT_STREQ(MimePart::classForMimeType("text/html").name, "TextHtmlMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("text/calendar").name, "TextMimePart");
    // The exact lookup takes the type as given: upper case misses it and lands on the
    // wildcard of its major type.
    EXPECT_STREQ(MimePart::classForMimeType("TEXT/HTML").name, "TextMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("Image/PNG").name, "ImageMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("video/mp4").name, "VideoMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("multipart/alternative").name,
                 "MultipartAlternativeMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("application/pdf").name, "ApplicationPdfMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("APPLICATION/PDF").name, "ApplicationMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("application/zip").name, "ApplicationMimePart");
    // Related and audio are deliberately not registered.
    EXPECT_STREQ(MimePart::classForMimeType("multipart/related").name, "MultipartMimePart");
    EXPECT_STREQ(MimePart::classForMimeType("audio/mpeg").name, "MimePart");
    EXPECT_STREQ(MimePart::classForMimeType("").name, "MimePart");
    EXPECT_STREQ(MimePart::classForMimeType(std::nullopt).name, "MimePart");
    EXPECT_STREQ(MimePart::classForMimeType("nosuch").name, "MimePart");

    // A later registration replaces an earlier one; keys are stored lower case.
    MimePart::registerForMimeType("X-Test/*", AudioMimePart::partClass());
    EXPECT_STREQ(MimePart::classForMimeType("x-test/a").name, "AudioMimePart");
    MimePart::registerForMimeType("x-test/*", ImageMimePart::partClass());
    EXPECT_STREQ(MimePart::classForMimeType("X-TEST/a").name, "ImageMimePart");
}

TEST(MimePartParsing, ContentTypeGivesClassTypeCharsetAndEncoding) {
    auto html = parse("Content-Type: TEXT/HTML; charset=\"UTF-8\"\r\n\r\n<p>x</p>");
    EXPECT_STREQ(html->className(), "TextHtmlMimePart");
    EXPECT_EQ(html->type(), "text");
    EXPECT_EQ(html->subtype(), "html");
    EXPECT_EQ(html->charset(), "UTF-8");
    EXPECT_EQ(html->stringEncoding(), kUTF8Encoding);
    EXPECT_EQ(body(html), "<p>x</p>");

    // The narrow charset table: anything but Latin 1 and UTF-8 reads as ASCII.
    EXPECT_EQ(parse("Content-Type: text/plain; charset=windows-1252\r\n\r\nx")->stringEncoding(),
              kASCIIEncoding);
    EXPECT_EQ(parse("Content-Type: text/plain; charset=ISO-8859-1\r\n\r\nx")->stringEncoding(),
              kISOLatin1Encoding);
    EXPECT_EQ(parse("Content-Type: text/plain\r\n\r\nx")->stringEncoding(), kASCIIEncoding);
    auto latin = parse("Content-Type: text/plain; charset=windows-1252\r\n\r\ncaf\xE9");
    EXPECT_EQ(latin->plainContent(), std::nullopt);

    // A bare major type is its own subtype; the transfer encoding is kept lower case and the
    // content ID as written.
    auto bare = parse(
        "Content-Type: text\r\nContent-Transfer-Encoding: BASE64\r\n"
        "Content-ID: <a@b>\r\n\r\neA==");
    EXPECT_EQ(bare->type(), "text");
    EXPECT_EQ(bare->subtype(), "text");
    EXPECT_EQ(bare->contentTransferEncoding(), "base64");
    EXPECT_EQ(bare->contentId(), "<a@b>");
    EXPECT_EQ(bare->MIMEtype(), "text/text");
    EXPECT_EQ(bare->decodedContent()->str(), "x");

    // No blank line: no header block, no body, no type.
    auto nothing = parse("Content-Type: text/plain\r\nno end");
    EXPECT_EQ(nothing->type(), std::nullopt);
    EXPECT_EQ(nothing->contentData(), std::nullopt);
    EXPECT_EQ(nothing->webArchiveData(), std::nullopt);
    EXPECT_STREQ(nothing->className(), "MimePart");
}

TEST(MimePartParsing, DispositionKeepsRawValuesAndCutsAtASecondEquals) {
    auto part = parse(
        "Content-Type: application/octet-stream\r\n"
        "Content-Disposition: attachment; FileName=\"a=b.pdf\"; size=12\r\n\r\nx");
    const auto& d = part->contentDisposition();
    EXPECT_EQ(d.at("type"), "attachment");
    EXPECT_EQ(d.at("filename"), "\"a");  // the opening quote stays, "b.pdf\"" is dropped
    EXPECT_EQ(d.at("size"), "12");
    EXPECT_EQ(part->filename(), "a");

    // Pieces without "=" are stored untrimmed; the last one wins.
    auto spaced =
        parse("Content-Type: image/png\r\nContent-Disposition: inline ; filename= x.png\r\n\r\n");
    EXPECT_EQ(spaced->contentDisposition().at("type"), "inline ");
    EXPECT_EQ(spaced->filename(), " x.png");
    EXPECT_EQ(parse("Content-Type: image/png\r\n\r\n")->filename(), std::nullopt);
}

TEST(MimePartParsing, BoundarySplittingWithItsQuirks) {
    const std::string mixed =
        "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\none\r\n"
        "--b\r\nContent-Type: text/html\r\n\r\n<i>two</i>\r\n"
        "--b\r\n\r\nno type here\r\n"
        "--b--\r\n";
    auto root = parse(mixed);
    EXPECT_STREQ(root->className(), "MultipartMimePart");
    EXPECT_EQ(root->boundary(), "b");
    ASSERT_EQ(root->subParts().size(), 2u);  // the untyped piece and the closing "--" are dropped
    EXPECT_EQ(body(root->subParts()[0]), "one");
    EXPECT_EQ(body(root->subParts()[1]), "<i>two</i>");
    EXPECT_EQ(root->subParts()[1]->parent(), root);
    EXPECT_EQ(root->contentData(), std::nullopt);  // a split part keeps no body of its own

    // The preamble is a piece like the others: a header block in it makes a child.
    auto preamble = parse(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "Content-Type: text/plain\r\n\r\npreamble\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\nreal\r\n--b--");
    ASSERT_EQ(preamble->subParts().size(), 2u);
    EXPECT_EQ(body(preamble->subParts()[0]), "preamble");
    EXPECT_EQ(body(preamble->subParts()[1]), "real");

    // Without any "\n--b" the body is split at "\nb".
    auto bare = parse(
        "Content-Type: multipart/mixed; boundary=\"XX\"\r\n\r\n"
        "XX\r\nContent-Type: text/plain\r\n\r\none\r\nXX\r\nContent-Type: "
        "text/plain\r\n\r\ntwo\r\nXX");
    ASSERT_EQ(bare->subParts().size(), 2u);
    EXPECT_EQ(body(bare->subParts()[1]), "two");

    // A part with a blank body keeps its place (and an empty body).
    auto blank = parse(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\n \r\n"
        "--b\r\nContent-Type: image/png\r\n\r\n\r\n--b--");
    ASSERT_EQ(blank->subParts().size(), 2u);
    EXPECT_EQ(body(blank->subParts()[0]), "");
    EXPECT_EQ(blank->subParts()[1]->type(), "image");

    // A boundary that never occurs leaves the multipart a leaf with its body.
    auto none = parse("Content-Type: multipart/mixed; boundary=zz\r\n\r\nplain text");
    EXPECT_TRUE(none->subParts().empty());
    EXPECT_EQ(body(none), "plain text");
}

TEST(MimePartParsing, TransferEncodingAndCharsetAreInheritedFromParents) {
    auto root = parse(
        "Content-Type: multipart/mixed; boundary=b; charset=iso-8859-1\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\ncaf=E9\r\n"
        "--b\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n"
        "caf\xC3\xA9\r\n--b--");
    ASSERT_EQ(root->subParts().size(), 2u);
    const auto& inherits = root->subParts()[0];
    EXPECT_EQ(inherits->internalCharset(), std::nullopt);
    EXPECT_EQ(inherits->charset(), "iso-8859-1");
    EXPECT_EQ(inherits->contentTransferEncoding(), "quoted-printable");
    EXPECT_EQ(inherits->plainContent(), "caf&eacute;");
    const auto& own = root->subParts()[1];
    EXPECT_EQ(own->charset(), "utf-8");
    EXPECT_EQ(own->plainContent(), "caf\xC3\xA9");
    own->setCharset(std::nullopt);
    EXPECT_EQ(own->charset(), "iso-8859-1");
}

TEST(MimePartDisplay, EnvelopeAndUntypedParts) {
    const std::string empty = MimePart::htmlEnvelopeWithContents("");
    EXPECT_EQ(empty.size(), 481u);  // the fixed page without its fragment
    EXPECT_TRUE(empty.starts_with("<html>\n<head>\n<style type=\"text/css\">\npre {\n"));
    EXPECT_TRUE(empty.ends_with("<div class=\"box\">\n\n</div>\n</body>\n</html>"));
    EXPECT_NE(empty.find("\ndragout.ondragstart = function(e) {\n"), std::string::npos);

    // No Content-Type but a body: a preformatted block in the envelope, the body as it is.
    auto untyped = parse("X-Note: 1\r\n\r\nhello <b>");
    EXPECT_EQ(untyped->webArchiveData(),
              MimePart::htmlEnvelopeWithContents(
                  "<pre style=\"white-space: pre-wrap\">hello <b></pre>\n"));
    // Typed parts display through their own classes only.
    EXPECT_EQ(parse("Content-Type: audio/basic\r\n\r\nxx")->webArchiveData(), std::nullopt);

    auto text = parse("Content-Type: text/plain\r\n\r\na < b");
    EXPECT_EQ(text->webArchiveData(), MimePart::htmlEnvelopeWithContents(
                                          "<pre style=\"white-space: pre-wrap\">a &lt; b</pre>\n"));
    EXPECT_EQ(parse("Content-Type: text/calendar\r\n\r\nBEGIN")->plainContent(), std::nullopt);

    // Quoted-printable text is escaped by its decoder and once more for display.
    auto qp = parse(
        "Content-Type: text/plain; charset=iso-8859-1\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\ncaf=E9 &=\r\n x");
    EXPECT_EQ(qp->plainContent(), "caf&eacute; &amp; x");
    EXPECT_EQ(qp->webArchivePlainContent(),
              "<pre style=\"white-space: pre-wrap\">caf&amp;eacute; &amp;amp; x</pre>\n");

    auto html = parse(
        "Content-Type: text/html; charset=utf-8\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\n<p>=C3=A9</p>");
    EXPECT_EQ(html->htmlContent(), "<p>&#233;</p>");
    EXPECT_EQ(html->plainContent(), std::nullopt);

    auto b = parse("Content-Type: text/plain\r\nContent-ID: <x>\r\n\r\nhi");
    EXPECT_EQ(b->partWithContentID("x"), b);
    EXPECT_EQ(b->partWithContentID("<x>"), nullptr);
    EXPECT_EQ(b->description().substr(0, 16), "<TextMimePart 0x");
    EXPECT_TRUE(
        b->description().ends_with("> type: text subType:plain encoding: (null)\nSubParts:\n0"));
}

TEST(MimePartDisplay, ImagesShowFromTheirContentIdWhenBase64) {
    const std::string png("\x89PNG\r\n\x1a\n....", 12);
    auto image = parse(
        "Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-ID: <pic@here>\r\nContent-Disposition: inline; filename=\"p.png\"\r\n\r\n" +
        base64EncodedString(png).insert(4, "\r\n!*"));
    EXPECT_EQ(image->webArchiveHtmlContent(),
              "<p><img src=\"cid:pic@here\" alt=\"\"p.png\"\"/><br />\"p.png\"</p>");
    auto resources = image->webArchiveResources();
    ASSERT_EQ(resources.size(), 1u);
    EXPECT_EQ(resources[0].url, "cid:pic@here");
    EXPECT_EQ(resources[0].mimeType, "image/png");
    EXPECT_EQ(resources[0].textEncodingName, "base64");
    EXPECT_EQ(resources[0].data.str(), png);  // garbage characters are skipped
    EXPECT_EQ(image->base64Data(), base64EncodedString(png));

    // Without a filename the alt text is empty and the caption the missing-value text.
    auto unnamed =
        parse("Content-Type: image/gif\r\nContent-Transfer-Encoding: base64\r\n\r\nR0lG");
    EXPECT_EQ(unnamed->webArchiveHtmlContent(), "<p><img src=\"cid:\" alt=\"\"/><br />(null)</p>");
    // Not Base64: no picture, no resource.
    auto raw = parse("Content-Type: image/gif\r\nContent-ID: <g>\r\n\r\nGIF89a");
    EXPECT_EQ(raw->webArchiveHtmlContent(), std::nullopt);
    EXPECT_TRUE(raw->webArchiveResources().empty());
    EXPECT_EQ(raw->base64Data(), base64EncodedString("GIF89a"));

    auto video = parse(
        "Content-Type: video/mp4\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-ID: <v>\r\n\r\nAAAA");
    EXPECT_EQ(video->webArchiveHtmlContent(),
              "<video controls autoplay>\n<source src=\"cid:v\" type=\"video/mp4\">\n</video>");
    EXPECT_EQ(video->webArchiveResources().size(), 1u);
}

TEST(MultipartDisplay, MixedConcatenatesAlternativePrefersHtml) {
    auto alt = parse(
        "Content-Type: multipart/alternative; boundary=a\r\n\r\n"
        "--a\r\nContent-Type: text/plain\r\n\r\nplain words\r\n"
        "--a\r\nContent-Type: text/html\r\n\r\n<b>html words</b>\r\n--a--");
    EXPECT_EQ(alt->webArchiveData(), MimePart::htmlEnvelopeWithContents("<b>html words</b>"));
    auto plainOnly = parse(
        "Content-Type: multipart/alternative; boundary=a\r\n\r\n"
        "--a\r\nContent-Type: text/plain\r\n\r\nonly plain\r\n--a--");
    EXPECT_EQ(plainOnly->webArchiveData(),
              MimePart::htmlEnvelopeWithContents(
                  "<pre style=\"white-space: pre-wrap\">only plain</pre>\n"));

    auto mixed = parse(
        "Content-Type: multipart/mixed; boundary=m\r\n\r\n"
        "--m\r\nContent-Type: text/plain\r\n\r\nsee picture\r\n"
        "--m\r\nContent-Type: multipart/related; boundary=r\r\n\r\n"
        "--r\r\nContent-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n"
        "Content-ID: <deep>\r\n\r\niVBORw==\r\n--r--\r\n"
        "--m--");
    const std::string expected =
        "<pre style=\"white-space: pre-wrap\">see picture</pre>\n"
        "<p><img src=\"cid:deep\" alt=\"\"/><br />(null)</p>";
    EXPECT_EQ(mixed->webArchiveData(), MimePart::htmlEnvelopeWithContents(expected));
    EXPECT_EQ(mixed->webArchiveResources().size(), 1u);
    auto found = mixed->partWithContentID("deep");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->className(), "ImageMimePart");
    EXPECT_EQ(found->parent()->parent(), mixed);
    EXPECT_EQ(mixed->partWithContentID("nowhere"), nullptr);
    EXPECT_EQ(mixed->plainContent(), "see picture");
    EXPECT_EQ(mixed->htmlContent(), std::nullopt);
}

TEST(MultipartBuilding, BodyDelimitersAndChildren) {
    auto one = TextMimePart::initWithPlainText("first", kUTF8Encoding, "7bit");
    auto two = TextMimePart::initWithPlainText(
        "zweite Gr\xC3\xBC\xC3\x9F"
        "e",
        kISOLatin1Encoding, "quoted-printable");
    ASSERT_TRUE(one && two);
    EXPECT_EQ(one->headers().firstHeaderForKey("Content-Type"), "text/plain; charset=us-ascii");
    EXPECT_EQ(two->headers().firstHeaderForKey("Content-Type"), "text/plain; charset=iso-8859-1");
    EXPECT_EQ(two->headers().firstHeaderForKey("Content-Transfer-Encoding"), "quoted-printable");
    EXPECT_EQ(body(two), "zweite Gr=FC=DFe");

    auto mixed = MultipartMimePart::initWithSubtype("mixed");
    EXPECT_TRUE(mixed->isMutable());
    const std::string b = *mixed->boundary();
    EXPECT_EQ(mixed->headers().firstHeaderForKey("Content-Type"),
              "multipart/mixed; boundary=\"" + b + "\"");
    mixed->addPart(one);
    mixed->addPart(two);
    mixed->addPart(one);  // already there: nothing added
    ASSERT_EQ(mixed->subParts().size(), 2u);
    EXPECT_EQ(
        body(mixed),
        "--" + b +
            "\r\nContent-Transfer-Encoding: 7bit\r\nContent-Type: text/plain; charset=us-ascii"
            "\r\n\r\nfirst\r\n--" +
            b +
            "\r\nContent-Transfer-Encoding: quoted-printable\r\nContent-Type: text/plain; "
            "charset=iso-8859-1\r\n\r\nzweite Gr=FC=DFe\r\n--" +
            b + "--\r\n");
    // Built children have no parent.
    EXPECT_EQ(one->parent(), nullptr);

    // What is built reads back as the same tree.
    auto reread = parse("Content-Type: " + *mixed->headers().firstHeaderForKey("Content-Type") +
                        "\r\n\r\n" + body(mixed));
    ASSERT_EQ(reread->subParts().size(), 2u);
    EXPECT_EQ(reread->subParts()[1]->plainContent(), "zweite Gr&uuml;&szlig;e");

    // A parsed multipart cannot be changed.
    test::LogCapture log;
    std::dynamic_pointer_cast<MultipartMimePart>(reread)->addPart(one);
    EXPECT_EQ(reread->subParts().size(), 2u);
    EXPECT_EQ(log.lines, std::vector<std::string>{"Cannot Mutate Multipart part"});

    std::set<std::string> seen;
    for (int i = 0; i < 50; ++i) {
        const std::string nb = MultipartMimePart::newBoundary();
        EXPECT_TRUE(nb.starts_with("MKMimeKit=_"));
        EXPECT_EQ(nb.size(), 47u);
        seen.insert(nb);
    }
    EXPECT_EQ(seen.size(), 50u);
}

TEST(MultipartBuilding, AlternativeAndRelatedInitialisers) {
    auto plain = TextMimePart::initWithPlainText("p", kASCIIEncoding, "7bit");
    auto html = TextHtmlMimePart::initWithHtmlString("<b>h</b>", kASCIIEncoding, "7bit");
    auto alt = MultipartAlternativeMimePart::initWithPlainPart(plain, html);
    ASSERT_EQ(alt->subParts().size(), 2u);
    EXPECT_EQ(alt->subParts()[0], plain);  // the preferred form last
    EXPECT_EQ(alt->webArchiveData(), MimePart::htmlEnvelopeWithContents("<b>h</b>"));

    auto image = ImageMimePart::initWithData(Bytes::fromString(std::string(100, 'x')),
                                             "logo@example", kMimeImageSubtypePng);
    EXPECT_EQ(image->headers().firstHeaderForKey("Content-Disposition"), "inline; filename=logo");
    EXPECT_EQ(image->headers().firstHeaderForKey("Content-Id"), "<logo@example>");
    EXPECT_EQ(image->headers().firstHeaderForKey("Content-Type"),
              "image/png; x-unix-mode=0600; name=\"logo\"");
    EXPECT_EQ(body(image).find("\r\n"), 76u);
    auto related = MultipartRelatedMimePart::initWithHtmlPart(html, {image});
    const std::string b = *related->boundary();
    EXPECT_EQ(related->headers().firstHeaderForKey("Content-Type"),
              "multipart/related; type=\"text/html\"; boundary=\"" + b + "\"");
    EXPECT_EQ(related->partWithContentID("logo@example"), image);
    // Written, the long Content-Type field is folded at its white space.
    const std::string block = related->headers().foldedHeaderString();
    EXPECT_EQ(block,
              "Content-Type: multipart/related; type=\"text/html\";\r\n boundary=\"" + b + "\"");
}

}  // namespace
}  // namespace qb
