// SPDX-License-Identifier: Apache-2.0
// The quick paths of rich text (word-at-a-time scanning, hex digits decoded in one piece,
// shared looks, cached tags) against the plain rules they stand for.
#include <gtest/gtest.h>

#include "mailkit/Base64.h"
#include "richtext/RTFReader.h"
#include "richtext/RTFTokenizer.h"
#include "richtext/StyledTextHTMLWriter.h"

namespace qb {
namespace {

StyledText read(std::string_view rtf) {
    auto doc = readRTF(Bytes::fromString(rtf));
    EXPECT_TRUE(doc) << rtf;
    return doc ? std::move(*doc) : StyledText{};
}

std::vector<std::string> textTokens(std::string_view rtf) {
    std::vector<std::string> texts;
    RTFTokenizer t(rtf);
    for (RTFToken k = t.next(); k.kind != RTFToken::Kind::End; k = t.next())
        if (k.kind == RTFToken::Kind::Text) texts.emplace_back(k.text);
    return texts;
}

TEST(RTFTokenizer, TextEndsExactlyAtEveryKindOfStopWhereverItFalls) {
    // Each stop at every place in and across the eight-byte words the scanner reads, with
    // the bytes that differ from a stop in one bit around it (where a borrow could mislead).
    const std::string_view stops[] = {"\\par ", "{", "}", "\r", "\n"};
    for (std::string_view stop : stops) {
        for (size_t at = 0; at < 20; ++at) {
            const std::string before = std::string(at, 'a') + "z|]";
            const std::string after = "z|]" + std::string(at % 9, 'b');
            EXPECT_EQ(textTokens(before + std::string(stop) + after),
                      (std::vector<std::string>{before, after}))
                << "stop " << int(stop[0]) << " at " << at;
        }
    }
    // High bytes and control characters are text like any other.
    EXPECT_EQ(textTokens("\x80\xff\x01\x7f\xe9t\xc3\xa9xxxxxxxxx}"),
              std::vector<std::string>{"\x80\xff\x01\x7f\xe9t\xc3\xa9xxxxxxxxx"});

    // A run of data goes over line ends and stops only where a token begins.
    for (std::string_view stop : {"\\", "{", "}"}) {
        for (size_t at = 0; at < 20; ++at) {
            const std::string data = std::string(at, '0') + "\r\n" + std::string(at % 5, 'f');
            const std::string rtf = data + std::string(stop) + "x";
            RTFTokenizer t(rtf);
            EXPECT_EQ(t.textRun(), data) << stop << at;
            EXPECT_EQ(t.position(), data.size());
        }
    }
    RTFTokenizer atEnd("0a\n0b");
    EXPECT_EQ(atEnd.textRun(), "0a\n0b");
    EXPECT_EQ(atEnd.textRun(), "");
    EXPECT_EQ(atEnd.next().kind, RTFToken::Kind::End);
}

TEST(RTFReader, PictureDigitsDecodeTheSameInOnePieceOrMany) {
    // A picture's bytes, written as a writer would (lines of digits) and as odd writers do:
    // capitals, stray characters, a digit left over before a control word.
    std::string bytes;
    for (int i = 0; i < 300; ++i)
        bytes += static_cast<char>((i * 37 + 11) & 0xFF);
    std::string lines, odd;
    static constexpr char kLower[] = "0123456789abcdef", kUpper[] = "0123456789ABCDEF";
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        lines += kLower[b >> 4];
        lines += kLower[b & 15];
        if (i % 32 == 31) lines += "\r\n";
        odd += kUpper[b >> 4];
        if (i % 7 == 3) odd += " \t";  // between the two digits of a byte
        if (i % 50 == 10) odd += "\\picscalex100 ";
        odd += kUpper[b & 15];
        if (i % 11 == 0) odd += "\n";
    }
    for (const std::string& digits : {lines, odd}) {
        const auto doc = read("{\\rtf1{\\pict\\pngblip\n" + digits + "}}");
        const auto& runs = doc.blocks().at(0).paragraph.runs;
        ASSERT_EQ(runs.size(), 1u);
        ASSERT_TRUE(runs[0].image);
        EXPECT_EQ(runs[0].image->data.view(), bytes);
    }
    // An odd digit at the very end is no byte; the text after the picture is text again.
    const auto doc = read("{\\rtf1 a{\\pict\\pngblip 0a0b0}b\\par}");
    const auto& runs = doc.blocks().at(0).paragraph.runs;
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[1].image->data.view(), "\x0a\x0b");
    EXPECT_EQ(doc.plainText(), "ab\n");
}

TEST(StyledText, EqualLooksAreSharedAndGrowOnce) {
    const auto doc = read(
        "{\\rtf1{\\fonttbl{\\f0 Arial;}}\\f0\\fs20 a{\\b b}c{\\b d}{\\i e}\\par"
        "{\\b f}\\par\\par}");
    const Paragraph& p = doc.blocks().at(0).paragraph;
    ASSERT_EQ(p.runs.size(), 5u);
    EXPECT_EQ(p.runs[0].attributes, p.runs[2].attributes);
    EXPECT_EQ(p.runs[1].attributes, p.runs[3].attributes);
    EXPECT_EQ(doc.blocks().at(1).paragraph.runs.at(0).attributes, p.runs[1].attributes);
    EXPECT_NE(p.runs[0].attributes, p.runs[1].attributes);
    EXPECT_NE(p.runs[1].attributes, p.runs[4].attributes);
    // Plain, bold, italic, and the default look: no more.
    EXPECT_EQ(doc.lookCount(), 4u);
    EXPECT_EQ(p.markAttributes, p.runs[0].attributes);

    // Runs and marks that share a look grow by the step once, not once for each.
    auto grown = doc;
    grown.changeFontByPointSize(2.0);
    EXPECT_EQ(grown.attributes(p.runs[0].attributes).pointSize, 12.0);
    EXPECT_EQ(grown.attributes(p.markAttributes).pointSize, 12.0);
    EXPECT_EQ(grown.attributes(p.runs[1].attributes).pointSize, 12.0);
    EXPECT_EQ(doc.attributes(p.runs[0].attributes).pointSize, 10.0);  // a copy grew, not this
    // A look interned after the step is found again by its new value.
    CharAttributes bold = grown.attributes(p.runs[1].attributes);
    EXPECT_EQ(grown.intern(bold), p.runs[1].attributes);
    // Numbers the table does not hold read as the default look.
    EXPECT_EQ(doc.attributes(9999), CharAttributes{});

    const StyledText lines = StyledText::fromPlainText("a\nb\r\nc", 11);
    ASSERT_EQ(lines.blocks().size(), 3u);
    EXPECT_EQ(lines.lookCount(), 2u);
    EXPECT_EQ(lines.attributes(lines.blocks()[2].paragraph.runs[0].attributes).pointSize, 11.0);
}

TEST(RTFReader, LooksFollowTablesThatChangeAfterUse) {
    // The same colour and font numbers mean other things once the tables are given again.
    const auto doc = read(
        "{\\rtf1{\\cf1\\f1 a}{\\colortbl;\\red255\\green0\\blue0;}{\\fonttbl{\\f1 Courier;}}"
        "{\\cf1\\f1 b}{\\colortbl;\\red0\\green0\\blue255;}{\\cf1\\f1 c}"
        "{\\fonttbl{\\f1 Times;}}{\\cf1\\f1 d}\\par}");
    const Paragraph& p = doc.blocks().at(0).paragraph;
    ASSERT_EQ(p.runs.size(), 4u);
    const auto look = [&](size_t i) { return doc.attributes(p.runs[i].attributes); };
    EXPECT_EQ(look(0).foreground, std::nullopt);
    EXPECT_EQ(look(0).fontFamily, "");
    EXPECT_EQ(look(1).foreground, (RGBColor{255, 0, 0}));
    EXPECT_EQ(look(1).fontFamily, "Courier");
    EXPECT_EQ(look(2).foreground, (RGBColor{0, 0, 255}));
    EXPECT_EQ(look(3).fontFamily, "Times");

    // Links: each field's own target, none after it, none on the paragraph mark.
    const auto linked = read(
        "{\\rtf1 {\\field{\\*\\fldinst HYPERLINK \"http://a/\"}{\\fldrslt x}}"
        "{\\field{\\*\\fldinst HYPERLINK \"http://b/\"}{\\fldrslt y}}"
        "{\\field{\\*\\fldinst HYPERLINK \"http://a/\"}{\\fldrslt z}} w\\par}");
    const Paragraph& q = linked.blocks().at(0).paragraph;
    ASSERT_EQ(q.runs.size(), 4u);
    EXPECT_EQ(linked.attributes(q.runs[0].attributes).link, "http://a/");
    EXPECT_EQ(linked.attributes(q.runs[1].attributes).link, "http://b/");
    EXPECT_EQ(q.runs[2].attributes, q.runs[0].attributes);
    EXPECT_EQ(linked.attributes(q.runs[3].attributes).link, "");
    EXPECT_EQ(linked.attributes(q.markAttributes).link, "");

    // Results of one field share its link; an instruction that grew since is read again.
    const auto many = read(
        "{\\rtf1{\\field{\\*\\fldinst HYPERLINK \"http://a/\"}{\\fldrslt x}{\\fldrslt y}"
        "{\\*\\fldinst  \\\\l \"b\"}{\\fldrslt z}}\\par}");
    const Paragraph& m = many.blocks().at(0).paragraph;
    ASSERT_EQ(m.runs.size(), 2u);
    EXPECT_EQ(m.runs[0].text, "xy");
    EXPECT_EQ(many.attributes(m.runs[0].attributes).link, "http://a/");
    EXPECT_EQ(many.attributes(m.runs[1].attributes).link, "http://a/#b");
}

// What the page must show for text: the plain rule, one byte at a time.
std::string escapedByTheRule(std::string_view s) {
    std::string out;
    for (char c : s) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '\n')
            out += "<br>";
        else if (static_cast<unsigned char>(c) >= 0x20 || c == '\t')
            out += c;
    }
    return out;
}

std::string bodyOf(const std::string& html) {
    const size_t start = html.find("<body>\n") + 7;
    return html.substr(start, html.find("</body>") - start);
}

TEST(StyledTextHTMLWriter, TextIsEscapedByTheRuleWhereverTheMarkupFalls) {
    const std::string_view specials[] = {"&",  "<",    ">",    "\"",   "\n",       "\t",
                                         "\r", "\x01", "\x1f", "\x7f", "\xc3\xa9", "'"};
    StyledText text;
    std::string want;
    for (std::string_view special : specials) {
        for (size_t at = 0; at < 18; ++at) {
            const std::string s = std::string(at, 'x') + std::string(special) + "y" +
                                  std::string(special) + std::string(at % 10, 'z');
            Paragraph p;
            p.runs.push_back(TextRun{s, nullptr, 0});
            text.blocks().push_back(Block{false, p, {}});
            want += "<p>" + escapedByTheRule(s) + "</p>\n";
        }
    }
    EXPECT_EQ(bodyOf(htmlOfStyledText(text)), want);

    // Link targets are attribute values: quotes escaped, line ends as spaces.
    CharAttributes linked;
    linked.link = "http://e/?a=1&b=\"2\"\n<x>";
    StyledText withLink;
    Paragraph p;
    p.runs.push_back(TextRun{"go", nullptr, withLink.intern(linked)});
    withLink.blocks().push_back(Block{false, p, {}});
    EXPECT_EQ(bodyOf(htmlOfStyledText(withLink)),
              "<p><a href=\"http://e/?a=1&amp;b=&quot;2&quot; &lt;x&gt;\">go</a></p>\n");
}

TEST(StyledTextHTMLWriter, TagsOfRepeatedLooksAndParagraphsStayRight) {
    // Paragraphs alike and not, empty ones as tall as their marks, list markers in the
    // mark's look, cells of equal and other widths: each tag as written without any reuse.
    const auto html = htmlOfStyledText(
        read("{\\rtf1{\\fonttbl{\\f0 Arial;}}\\f0\\fs20\\sa120 a\\par b\\par\\par{\\fs30\\par}"
             "\\qc c\\par{\\listtext 1.\\tab}d\\par\\pard e{\\b f}g{\\b h}\\par"
             "\\trowd\\cellx1000\\cellx2000\\cellx2000\\cellx4000\\intbl p\\cell q\\cell r\\cell "
             "s\\cell\\row}"));
    const std::string span = "<span style=\"font-family: 'Arial'; font-size: 10pt;\">";
    const std::string bold = "<span style=\"font-family: 'Arial'; font-size: 10pt; font-weight: bold;\">";
    EXPECT_EQ(bodyOf(html),
              "<p style=\"margin-bottom: 6pt;\">" + span + "a</span></p>\n"
              "<p style=\"margin-bottom: 6pt;\">" + span + "b</span></p>\n"
              "<p style=\"margin-bottom: 6pt; font-size: 10pt;\"><br></p>\n"
              "<p style=\"margin-bottom: 6pt; font-size: 15pt;\"><br></p>\n"
              "<p style=\"text-align: center; margin-bottom: 6pt;\">" + span + "c</span></p>\n"
              "<p style=\"text-align: center; margin-bottom: 6pt;\">" + span + "1. </span>" + span +
              "d</span></p>\n"
              "<p>" + span + "e</span>" + bold + "f</span>" + span + "g</span>" + bold +
              "h</span></p>\n"
              "<table>\n<tr><td style=\"width: 50pt\"><p>" + span + "p</span></p>\n</td>"
              "<td style=\"width: 50pt\"><p>" + span + "q</span></p>\n</td>"
              "<td><p>" + span + "r</span></p>\n</td>"
              "<td style=\"width: 100pt\"><p>" + span + "s</span></p>\n</td></tr>\n</table>\n");
}

TEST(StyledTextHTMLWriter, PicturesOfEverySizeBecomeDataThatDecodesBack) {
    for (size_t n = 1; n < 70; ++n) {
        std::string bytes;
        for (size_t i = 0; i < n; ++i)
            bytes += static_cast<char>((i * 97 + n) & 0xFF);
        StyledImage image;
        image.data = Bytes::fromString(bytes);
        image.mimeType = "image/png";
        StyledText text;
        Paragraph p;
        p.runs.push_back(TextRun{{}, std::make_shared<const StyledImage>(image), 0});
        text.blocks().push_back(Block{false, p, {}});
        const std::string body = bodyOf(htmlOfStyledText(text));
        const std::string head = "<p><img src=\"data:image/png;base64,";
        ASSERT_TRUE(body.starts_with(head)) << body;
        const std::string encoded =
            body.substr(head.size(), body.find('"', head.size()) - head.size());
        EXPECT_EQ(encoded, NewBase64Encode(bytes, false));
        EXPECT_EQ(encoded.size(), (n + 2) / 3 * 4);
        EXPECT_EQ(NewBase64Decode(encoded), bytes) << n;
    }
    // Added to what is there already, and lines of 64 characters when asked for.
    std::string out = "x:";
    appendBase64(out, "foobar!");
    EXPECT_EQ(out, "x:Zm9vYmFyIQ==");
    std::string lines;
    for (int i = 0; i < 16; ++i)
        lines += "YWFh";
    EXPECT_EQ(NewBase64Encode(std::string(49, 'a'), true), lines + "\r\nYQ==\r\n");
    EXPECT_EQ(NewBase64Encode(std::string(48, 'a'), true), lines + "\r\n");
    EXPECT_EQ(NewBase64Encode("", true), "");
}

}  // namespace
}  // namespace qb
