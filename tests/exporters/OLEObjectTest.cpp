// SPDX-License-Identifier: Apache-2.0
// Attachments that are embedded OLE objects without a CONTENTS stream: the packaged file of
// an Ole10Native stream (its reader first), a Package stream, a whole compound file.
#include <gtest/gtest.h>

#include "exporters/AttachmentExporter.h"
#include "formats/Ole10Native.h"
#include "support/CompoundFileWriter.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::CFNode;

// A packaged file as the packager writes it; `wide` appends the UTF-16 names.
std::string ole10Native(const std::string& label, const std::string& original,
                        const std::string& temp, const std::string& data, bool wide = false) {
    ByteWriter native;
    native.u16(2).raw(label).u8(0).raw(original).u8(0).u16(0).u16(3);
    native.u32(uint32_t(temp.size() + 1)).raw(temp).u8(0);
    native.u32(uint32_t(data.size())).raw(data);
    if (wide) {
        for (const std::string* s : {&temp, &label, &original})
            native.u32(uint32_t(test::utf16le(*s, false).size() / 2)).raw(test::utf16le(*s, false));
    }
    return ByteWriter().u32(uint32_t(native.size())).raw(native.str()).str();
}

TEST(Ole10Native, ReadsThePackagedFileAndNamesIt) {
    auto p = readOle10Native(Bytes::fromString(
        ole10Native("report.pdf", "C:\\Users\\ann\\report.pdf", "C:\\Temp\\report.pdf", "%PDF")));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->label, "report.pdf");
    EXPECT_EQ(p->data.str(), "%PDF");
    EXPECT_EQ(packageFilename(*p), "report.pdf");

    // Some packagers put the icon's source where the original path belongs.
    p = readOle10Native(Bytes::fromString(ole10Native(
        "Price list.pdf", "C:\\WINNT\\system32\\SHELL32.DLL", "C:\\Temp\\PRICEL~1.PDF", "%PDF")));
    ASSERT_TRUE(p);
    EXPECT_EQ(packageFilename(*p), "Price list.pdf");

    // The UTF-16 names replace the 8-bit ones, which are in the message's code page.
    p = readOle10Native(Bytes::fromString(ole10Native("Gr\xFC\xDF.txt", "C:\\Gr\xFC\xDF.txt",
                                                      "C:\\T\\Gr\xFC\xDF.txt", "x")),
                        kWindowsCP1252Encoding);
    ASSERT_TRUE(p);
    EXPECT_EQ(packageFilename(*p), "Grüß.txt");
    p = readOle10Native(
        Bytes::fromString(ole10Native("日本.txt", "C:\\日本.txt", "C:\\T\\日本.txt", "x", true)));
    ASSERT_TRUE(p);
    EXPECT_EQ(p->originalPath, "C:\\日本.txt");
}

TEST(Ole10Native, DamagedStreamsGiveNothing) {
    const std::string whole = ole10Native("a.txt", "C:\\a.txt", "C:\\T\\a.txt", "abc");
    ASSERT_TRUE(readOle10Native(Bytes::fromString(whole)));
    for (size_t n = 0; n < whole.size(); ++n)
        EXPECT_FALSE(readOle10Native(Bytes::fromString(whole.substr(0, n)))) << n;
    // A data size beyond the native data.
    std::string big = whole;
    big[big.size() - 7] = '\x7F';
    EXPECT_FALSE(readOle10Native(Bytes::fromString(big)));
}

// A TNEF message with one attachment whose PR_ATTACH_DATA_OBJ is a storage holding `nodes`.
std::shared_ptr<TNEFMessage> messageWithObject(std::vector<CFNode> nodes, const std::string& name) {
    const std::string iidStorage("\x0B\0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16);
    test::PropsWriter props;
    props.binary(0x3701, iidStorage + test::CompoundFileWriter().write(CFNode::dir("R", nodes)),
                 0x000D);
    if (!name.empty()) props.string8(0x3707, name);
    test::TNEFWriter w;
    // An object rendering with no attAttachData, as Outlook writes them.
    w.attr(2, 0x9002, 6, ByteWriter().u16(3).u32(0xFFFFFFFF).u16(0).u16(0).u32(0).str());
    w.attr(2, 0x9005, 6, props.str());
    return test::readTNEF(w.str());
}

TEST(OLEObject, AttachmentGivesThePackedFileThePackageOrTheDocument) {
    auto m = messageWithObject(
        {CFNode::stream("\x01Ole10Native",
                        ole10Native("a.pdf", "C:\\x\\a.pdf", "C:\\T\\a.pdf", "%PDF-1.4 packed")),
         CFNode::stream("\x01Ole", std::string(20, '\0'))},
        "Untitled_Attachment");
    ASSERT_EQ(m->attachments().size(), 1u);
    EXPECT_FALSE(m->attachments()[0]->rawData());  // the attachment's own content stays empty
    auto e = AttachmentExporter::create(m->attachments()[0]);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->data()->str(), "%PDF-1.4 packed");
    EXPECT_EQ(e->filename(), "a.pdf");

    m = messageWithObject({CFNode::stream("Package", "packed bytes")}, "");
    e = AttachmentExporter::create(m->attachments()[0]);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->data()->str(), "packed bytes");
    EXPECT_EQ(e->filename(), "Untitled Attachment");

    // A Word document embedded whole: written as it is, named by its format.
    m = messageWithObject({CFNode::stream("WordDocument", std::string(700, 'w'))}, "");
    e = AttachmentExporter::create(m->attachments()[0]);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->filename(), "Untitled Attachment.doc");
    EXPECT_EQ(e->data()->view().substr(0, 4), "\xD0\xCF\x11\xE0");
}

}  // namespace
}  // namespace qb
