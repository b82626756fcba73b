// SPDX-License-Identifier: Apache-2.0
// An OLE object that a .msg keeps as a storage of its own (no Ole10Native, no Package stream)
// is exported as a compound file holding that storage, its CLSID on the new root.
#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/DirectoryRecords.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/OLEObjectFile.h"
#include "exporters/TNEFMessageExporter.h"
#include "support/LogCapture.h"
#include "support/MsgWriter.h"

namespace qb {
namespace {

using test::CFNode;
using test::MsgFile;
using test::MsgProps;

constexpr CLSID kWordCLSID = {0x06, 0x09, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                              0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};
constexpr CLSID kPoolCLSID = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 1, 2, 3, 4, 5, 6};

std::string pattern(size_t n, int seed) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>((i * 11 + size_t(seed)) % 253);
    return s;
}

// What Word leaves in an object's storage: property-set and OLE streams led by control
// characters, the document streams, a storage of its own with a CLSID.
std::vector<CFNode> wordObject() {
    return {CFNode::stream("\x01"
                           "CompObj",
                           pattern(106, 1)),
            CFNode::stream("\x03ObjInfo", pattern(6, 2)),
            CFNode::stream("\x05SummaryInformation", pattern(400, 3)),
            CFNode::stream("WordDocument", pattern(12000, 4)),
            CFNode::stream("1Table", pattern(7000, 5)),
            CFNode::dir("ObjectPool", {CFNode::stream("inner", pattern(50, 6))}, kPoolCLSID)};
}

std::shared_ptr<OXMessage> messageWithStorageObject(std::vector<CFNode> object, CLSID clsid) {
    MsgFile f;
    f.root.unicode(0x0037, "a document inside");
    MsgProps attachment;
    attachment.u32(0x3705, 6);  // ATTACH_OLE
    attachment.child(CFNode::dir("__substg1.0_3701000D", std::move(object), clsid));
    f.attachments.push_back({attachment, {}});
    return OXMessage::create(Bytes::fromString(f.write()));
}

void expectHolds(const CFBEntry& entry, const DirectoryRecords& records, const CFNode& expected) {
    auto record = records.record(entry.dirEntry());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->clsid, expected.clsid) << entry.path();
    if (!expected.storage) {
        auto data = entry.data();
        ASSERT_TRUE(data) << entry.path();
        EXPECT_EQ(data->str(), expected.data) << entry.path();
        return;
    }
    std::map<std::string, const CFNode*> byName;
    for (const CFNode& child : expected.children)
        byName[child.name] = &child;
    ASSERT_EQ(entry.entries().size(), byName.size()) << entry.path();
    for (const auto& child : entry.entries()) {
        auto name = records.record(child->dirEntry())->name;
        ASSERT_TRUE(byName.count(name)) << name;
        expectHolds(*child, records, *byName[name]);
    }
}

TEST(OLEObjectFile, AStorageInAMsgIsWrittenAsACompoundFileOfItsOwn) {
    auto m = messageWithStorageObject(wordObject(), kWordCLSID);
    ASSERT_TRUE(m);
    ASSERT_EQ(m->attachments().size(), 1u);
    const auto& attachment = m->attachments()[0];
    EXPECT_FALSE(attachment->nestedMessage());
    EXPECT_FALSE(attachment->rawData());

    auto object = fileOfOLEObject(*attachment);
    ASSERT_TRUE(object);
    EXPECT_TRUE(object->filename.empty());
    auto root = CFBEntry::create(object->data);
    ASSERT_TRUE(root);
    expectHolds(*root, DirectoryRecords(root->storage()),
                CFNode::dir("Root Entry", wordObject(), kWordCLSID));

    // The exporters name it by what it holds.
    auto exporter = AttachmentExporter::create(attachment);
    ASSERT_TRUE(exporter);
    EXPECT_EQ(exporter->filename(), "Untitled Attachment.doc");
    EXPECT_TRUE(*exporter->data() == object->data);
    auto message = TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
    ASSERT_EQ(message->attachmentExporters().size(), 1u);
    EXPECT_EQ(message->attachmentExporters()[0]->data()->size(), object->data.size());
}

TEST(OLEObjectFile, StoragesThatCannotBeCopiedGiveNothingQuickly) {
    test::LogCapture quiet;
    // Two siblings whose names differ only in case (a damaged directory) cannot both be
    // written: "Dbta" becomes "DATA" beside "Data".
    MsgFile f;
    MsgProps attachment;
    attachment.u32(0x3705, 6);
    attachment.child(CFNode::dir("__substg1.0_3701000D",
                                 {CFNode::stream("Data", "a"), CFNode::stream("Dbta", "b")}));
    f.attachments.push_back({attachment, {}});
    std::string file = f.write();
    const std::string from("D\0b\0t\0a\0", 8), to("D\0A\0T\0A\0", 8);
    const size_t at = file.find(from);
    ASSERT_NE(at, std::string::npos);
    file.replace(at, 8, to);
    const auto start = std::chrono::steady_clock::now();
    auto m = OXMessage::create(Bytes::fromString(file));
    ASSERT_TRUE(m);
    ASSERT_EQ(m->attachments().size(), 1u);
    EXPECT_FALSE(fileOfOLEObject(*m->attachments()[0]));
    EXPECT_FALSE(AttachmentExporter::create(m->attachments()[0]));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));

    // An empty storage is still a file: an empty compound file carrying the CLSID.
    m = messageWithStorageObject({}, kWordCLSID);
    auto object = fileOfOLEObject(*m->attachments()[0]);
    ASSERT_TRUE(object);
    auto root = CFBEntry::create(object->data);
    ASSERT_TRUE(root);
    EXPECT_TRUE(root->entries().empty());
    EXPECT_EQ(DirectoryRecords(root->storage()).record(root->dirEntry())->clsid, kWordCLSID);
}

}  // namespace
}  // namespace qb
