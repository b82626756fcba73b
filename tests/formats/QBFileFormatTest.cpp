// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>

#include "formats/QBFileFormat.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/CompoundFileWriter.h"
#include "support/MsgWriter.h"
#include "support/SampleMessages.h"
#include "support/ZipWriter.h"

namespace qb {
namespace {

using test::CFNode;

std::string idOf(const std::string& bytes) {
    const QBFileFormat* f = QBFileFormat::fileFormatOfData(Bytes::fromString(bytes));
    return f ? f->identifier : "(none)";
}

TEST(QBFileFormat, EveryFormatHasItsPartsAndUniqueIdentifier) {
    const auto& all = QBFileFormat::allFormats();
    EXPECT_GE(all.size(), 25u);
    for (const auto& f : all) {
        EXPECT_FALSE(f.identifier.empty());
        EXPECT_FALSE(f.description.empty()) << f.identifier;
        EXPECT_FALSE(f.mimeTypes.empty()) << f.identifier;
        EXPECT_FALSE(f.extensions.empty()) << f.identifier;
        EXPECT_EQ(QBFileFormat::formatWithIdentifier(f.identifier), &f);
    }
}

TEST(QBFileFormat, DetectsBySignature) {
    const std::pair<std::string, std::string> cases[] = {
        {test::sampleWinmail(), "com.microsoft.tnef"},
        {"%PDF-1.7\n%", "com.adobe.pdf"},
        {"%PDF-1.5\n<</Creator (Adobe Illustrator CS6)>>", "com.adobe.illustrator.ai-image"},
        {"%!PS-Adobe-3.0\n%%Creator: Adobe Illustrator(R) 8.0\n", "com.adobe.illustrator.ai-image"},
        {"%!PS-Adobe-3.0 EPSF-3.0\n", "com.adobe.postscript"},
        {"{\\rtf1\\ansi hello}", "public.rtf"},
        {std::string("II*\0\x08\0\0\0", 8), "public.tiff"},
        {std::string("MM\0*\0\0\0\x08", 8), "public.tiff"},
        {"\xFF\xD8\xFF\xE0\x00\x10JFIF", "public.jpeg"},
        {std::string("\0\0\0\x0CjP  \r\n\x87\n", 12), "public.jpeg-2000"},
        {"GIF89a\x01\x00", "com.compuserve.gif"},
        {"\x89PNG\r\n\x1A\n\0\0\0\rIHDR", "public.png"},
        {std::string("BM\x36\0\0\0\0\0\0\0\x36\0\0\0", 14), "com.microsoft.bmp"},
        {std::string("\0\0\1\0\1\0\x10\x10", 8), "com.microsoft.ico"},
        {std::string("\0\0\2\0\1\0\x20\x20", 8), "com.microsoft.cur"},
        {"\xD7\xCD\xC6\x9A\0\0", "com.microsoft.wmf"},
        {"8BPS\0\1", "com.adobe.photoshop-image"},
        {"BEGIN:VCALENDAR\r\nVERSION:2.0\r\n", "com.apple.ical.ics"},
        {"BEGIN:VCARD\nVERSION:3.0\n", "public.vcard"},
        {"Received: from mail.example.org\r\nFrom: a@x\r\n\r\nbody", "com.apple.mail.email"},
        {"MIME-Version: 1.0\r\n", "com.apple.mail.email"},
        {"BMnot a bitmap", "(none)"},
        {"just text", "(none)"},
        {"", "(none)"},
    };
    for (const auto& [bytes, expected] : cases)
        EXPECT_EQ(idOf(bytes), expected) << expected;
}

TEST(QBFileFormat, LooksInsideContainers) {
    auto cfb = [](std::vector<CFNode> children) {
        return test::CompoundFileWriter().write(CFNode::dir("Root Entry", std::move(children)));
    };
    EXPECT_EQ(idOf(cfb({CFNode::stream("WordDocument", "w"), CFNode::stream("1Table", "t")})),
              "com.microsoft.word.doc");
    EXPECT_EQ(idOf(cfb({CFNode::stream("Workbook", "b")})), "com.microsoft.excel.xls");
    EXPECT_EQ(idOf(cfb({CFNode::stream("PowerPoint Document", "p")})),
              "com.microsoft.powerpoint.ppt");
    EXPECT_EQ(idOf(cfb({CFNode::stream("Other", "o")})), "com.microsoft.ole.storage");
    test::MsgFile msg;
    msg.root.unicode(0x0037, "s");
    EXPECT_EQ(idOf(msg.write()), "com.microsoft.outlook.message");

    EXPECT_EQ(
        idOf(test::zipArchive({{"[Content_Types].xml", "<x/>"}, {"word/document.xml", "<w/>"}})),
        "org.openxmlformats.wordprocessingml.document");
    EXPECT_EQ(idOf(test::zipArchive({{"xl/workbook.xml", "<x/>"}})),
              "org.openxmlformats.spreadsheetml.sheet");
    EXPECT_EQ(idOf(test::zipArchive({{"ppt/presentation.xml", "<p/>"}})),
              "org.openxmlformats.presentationml.presentation");
    EXPECT_EQ(idOf(test::zipArchive({{"FixedDocumentSequence.fdseq", "<f/>"}})),
              "com.microsoft.xps");
    EXPECT_EQ(idOf(test::zipArchive({{"notes.txt", "hello"}})), "public.zip-archive");
    // A damaged archive is still a ZIP by its signature.
    EXPECT_EQ(idOf(test::zipArchive({{"word/document.xml", "<w/>"}}).substr(0, 40)),
              "public.zip-archive");
}

TEST(QBFileFormat, ExtensionsAndMIMETypes) {
    EXPECT_EQ(QBFileFormat::fileFormatForExtension("PDF")->identifier, "com.adobe.pdf");
    EXPECT_EQ(QBFileFormat::fileFormatForExtension(".jpeg")->preferredFileExtension(), "jpg");
    EXPECT_EQ(QBFileFormat::fileFormatForExtension("docx")->preferredMIMEType(),
              "application/vnd.openxmlformats-officedocument.wordprocessingml.document");
    EXPECT_FALSE(QBFileFormat::fileFormatForExtension("xyz"));
    EXPECT_FALSE(QBFileFormat::fileFormatForExtension(""));
    EXPECT_EQ(QBFileFormat::fileFormatForMIMEType("Image/PNG; name=a.png")->identifier,
              "public.png");
    const Bytes text = Bytes::fromString("no signature here");
    EXPECT_EQ(QBFileFormat::fileFormatOfData(text, "report.final.XLSX")->identifier,
              "org.openxmlformats.spreadsheetml.sheet");
    EXPECT_FALSE(QBFileFormat::fileFormatOfData(text, "noextension"));
    // The content wins over the name.
    EXPECT_EQ(QBFileFormat::fileFormatOfData(Bytes::fromString("%PDF-1.4"), "x.doc")->identifier,
              "com.adobe.pdf");
}

TEST(QBFileFormat, CorpusFilesAreRecognised) {
    namespace fs = std::filesystem;
    const fs::path corpus = test::corpusDir();
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus";
    for (const char* dir : {"tnef", "msg"}) {
        for (const auto& e : fs::directory_iterator(corpus / dir)) {
            if (e.path().extension() == ".eml") continue;
            auto data = readFileData(e.path().string());
            ASSERT_TRUE(data);
            const QBFileFormat* f = QBFileFormat::fileFormatOfData(*data);
            ASSERT_TRUE(f) << e.path();
            // Two TNEF files have bytes before their stream; everything else is what it says.
            if (std::string(dir) == "msg") {
                EXPECT_EQ(f->identifier, "com.microsoft.outlook.message") << e.path();
            }
        }
    }
}

}  // namespace
}  // namespace qb
