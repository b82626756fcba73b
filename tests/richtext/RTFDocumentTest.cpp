// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "mailkit/Base64.h"
#include "richtext/RTFDocument.h"

namespace qb {
namespace {

// A picture group with binary data, as mail programs write them.
std::string pict(std::string_view kind, std::string_view data, std::string_view size = "") {
    return "{\\pict\\" + std::string(kind) + std::string(size) + "\\bin" +
           std::to_string(data.size()) + " " + std::string(data) + "}}";
}

std::string fileNamed(const RTFDocument& doc, const std::string& name) {
    for (const auto& [n, data] : doc.rtfdFileWrapper())
        if (n == name) return data.str();
    return "(none)";
}

TEST(RTFDocument, TheBetterRenditionOfAShapePictureIsKept) {
    const std::string rtf = "{\\rtf1 a{\\*\\shppict" + pict("pngblip", "PNGDATA", "\\picwgoal100\\pichgoal50") +
                            "{\\nonshppict" + pict("wmetafile8", "WMF") + " b}";
    auto doc = RTFDocument::create(Bytes::fromString(rtf));
    ASSERT_TRUE(doc);
    ASSERT_EQ(doc->pictures().size(), 1u);
    EXPECT_EQ(doc->pictures()[0]->extension(), "png");
    EXPECT_EQ(doc->pictures()[0]->alternativePicture()->extension(), "wmf");
    EXPECT_EQ(fileNamed(*doc, "IMG1.png"), "PNGDATA");
    EXPECT_EQ(fileNamed(*doc, "TXT.rtf"),
              "{\\rtf1 a{{\\NeXTGraphic IMG1.png \\width100 \\height50}} b}");
    EXPECT_EQ(doc->rtfdFileWrapper().size(), 2u);
    // The page carries the picture; every kind is labelled image/jpg.
    const auto html = doc->htmlData();
    ASSERT_TRUE(html);
    EXPECT_NE(html->view().find("<img src=\"data:image/jpg;base64," + base64EncodedString("PNGDATA") +
                                "\" alt=\"IMG1.png\">"),
              std::string_view::npos);
}

TEST(RTFDocument, PicturesAreNumberedInOrderAndMetafilesDropped) {
    const std::string rtf = "{\\rtf1 " + pict("jpegblip", "J1") + " x " + pict("wmetafile8", "W") +
                            " y " + pict("pngblip", "P2") + " z}";
    auto doc = RTFDocument::create(Bytes::fromString(rtf));
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->pictures().size(), 3u);
    EXPECT_EQ(fileNamed(*doc, "IMG1.jpg"), "J1");
    EXPECT_EQ(fileNamed(*doc, "IMG2.png"), "P2");
    EXPECT_EQ(fileNamed(*doc, "TXT.rtf"),
              "{\\rtf1 {{\\NeXTGraphic IMG1.jpg}} x  y {{\\NeXTGraphic IMG2.png}} z}");
}

TEST(RTFDocument, APictureInsideAShapePictureIsListedOnce) {
    const std::string rtf = "{\\rtf1 {\\*\\shppict{\\pict\\pngblip\\bin2 PP}}} end}";
    auto doc = RTFDocument::create(Bytes::fromString(rtf));
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->pictures().size(), 1u);
}

TEST(RTFDocument, HexPicturesTakeTheNextBinaryCountFoundAnywhere) {
    // Hex data has no \bin of its own: the count of a later group is taken.
    const std::string rtf =
        "{\\rtf1 {\\pict\\pngblip 0102}} mid {\\pict\\jpegblip\\bin3 JJJ}} end}";
    auto doc = RTFDocument::create(Bytes::fromString(rtf));
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->pictures()[0]->pictureData().view(), "JJJ");
    // Without any \bin there is no document: the RTF is read directly.
    EXPECT_FALSE(RTFDocument::create(Bytes::fromString("{\\rtf1 {\\pict\\pngblip 0102}}}")));
    EXPECT_FALSE(RTFDocument::create(Bytes::fromString("{\\rtf1 no pictures}")));
}

TEST(RTFDocument, AGroupThatNeverClosesKeepsAnEmptyRange) {
    auto picture = RTFPicture::create(Bytes::fromString("{\\pict\\pngblip\\bin2 PP"), 0);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->rtfTagRange().length, 0u);
    EXPECT_EQ(picture->extension(), "bmp");  // no keyword counts outside the group
    EXPECT_EQ(picture->pictureData().view(), "PP");
    // A count past the end takes what is there; searches always move forward.
    auto cut = RTFDocument::create(Bytes::fromString("{\\rtf1 {\\pict\\pngblip\\bin99 ab"));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->pictures()[0]->pictureData().view(), "ab");
}

}  // namespace
}  // namespace qb
