// SPDX-License-Identifier: Apache-2.0
// The compound-file writer: what it writes reads back whole through the reader (names, CLSIDs,
// every stream byte) at every size class, its sibling trees are valid red-black trees in
// directory order, and trees it cannot write are refused with a reason.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>

#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/CompoundFileCopy.h"
#include "OXMSG/cfb/CompoundFileWriter.h"
#include "OXMSG/cfb/DirectoryRecords.h"
#include "support/LogCapture.h"
#include "support/TNEFWriter.h"

namespace qb {
namespace {

using Node = CompoundFileNode;

Bytes pattern(size_t n, int seed) {
    std::vector<uint8_t> b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = uint8_t((i * 13 + size_t(seed) * 7) % 251);
    return Bytes::adopt(std::move(b));
}

constexpr CLSID kWordCLSID = {0x06, 0x09, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                              0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};
constexpr CLSID kOtherCLSID = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

void expectEntryHolds(const CFBEntry& entry, const DirectoryRecords& records,
                      const Node& expected) {
    auto record = records.record(entry.dirEntry());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->clsid, expected.clsid) << entry.path();
    if (!expected.storage) {
        ASSERT_TRUE(entry.isDocumentEntry()) << entry.path();
        auto data = entry.data();
        ASSERT_TRUE(data) << entry.path();
        EXPECT_EQ(data->size(), expected.data.size()) << entry.path();
        EXPECT_TRUE(*data == expected.data) << entry.path();
        return;
    }
    ASSERT_TRUE(entry.isDirectoryEntry()) << entry.path();
    std::map<std::string, const Node*> byName;
    for (const Node& child : expected.children)
        byName[child.name] = &child;
    ASSERT_EQ(entry.entries().size(), expected.children.size()) << entry.path();
    for (const auto& child : entry.entries()) {
        auto childRecord = records.record(child->dirEntry());
        ASSERT_TRUE(childRecord);
        auto it = byName.find(childRecord->name);
        ASSERT_NE(it, byName.end()) << childRecord->name;
        expectEntryHolds(*child, records, *it->second);
    }
}

// Writes `tree`, reads it back and checks that it holds exactly `tree`.
Bytes expectRoundTrip(const Node& tree, CompoundFileOptions options = {}) {
    std::string whyNot;
    auto file = writeCompoundFile(tree, options, nullptr, &whyNot);
    EXPECT_TRUE(file) << whyNot;
    if (!file) return {};
    EXPECT_EQ(file->size() % (size_t(1) << options.sectorShift), 0u);
    auto root = CFBEntry::create(*file);
    EXPECT_TRUE(root);
    if (!root) return {};
    DirectoryRecords records(root->storage());
    EXPECT_EQ(records.record(root->dirEntry())->name, "Root Entry");
    expectEntryHolds(*root, records, tree);
    return *file;
}

TEST(CompoundFileWriter, SmallStreamsLiveInTheMiniStream) {
    // Sizes around the 64-byte mini sector, up to just under the cutoff.
    std::vector<Node> streams;
    for (size_t size : {0, 1, 63, 64, 65, 200, 4095})
        streams.push_back(Node::stream("s" + std::to_string(size), pattern(size, int(size))));
    streams.push_back(
        Node::stream("\x01"
                     "CompObj",
                     pattern(76, 1)));
    streams.push_back(Node::stream("\x05SummaryInformation", pattern(300, 2)));
    streams.push_back(Node::stream("Grüße", pattern(10, 3)));
    streams.push_back(
        Node::storageOf("ObjectPool", {Node::stream("\x03ObjInfo", pattern(6, 4))}, kOtherCLSID));
    const Node tree = Node::storageOf("R", streams, kWordCLSID);
    expectRoundTrip(tree);
    // No stream has sectors of its own: all of them lie in the mini stream.
    CompoundFileLayout layout;
    auto file = writeCompoundFile(tree, {}, &layout);
    ASSERT_TRUE(file);
    EXPECT_TRUE(layout.bigStreamStarts.empty());
    POLE::Storage storage(*file);
    ASSERT_TRUE(storage.open());
    EXPECT_EQ(storage.io().header.num_sbat, 1u);
    EXPECT_EQ(storage.dirTree()->entry(size_t(0))->size % 64, 0u);
}

TEST(CompoundFileWriter, LargeStreamsAndBothVersions) {
    const Node tree = Node::storageOf(
        "R", {Node::stream("exactly", pattern(4096, 1)), Node::stream("big", pattern(70001, 2)),
              Node::stream("small", pattern(100, 3)),
              Node::storageOf("inner",
                              {Node::stream("big", pattern(9000, 4)),
                               Node::storageOf("deeper", {Node::stream("x", pattern(5000, 5))})},
                              kOtherCLSID)});
    for (unsigned shift : {9u, 12u}) {
        SCOPED_TRACE(shift);
        CompoundFileLayout layout;
        auto file = writeCompoundFile(tree, {shift, 0}, &layout);
        ASSERT_TRUE(file);
        EXPECT_EQ((*file)[0x1A], shift == 9 ? 3 : 4);
        EXPECT_EQ(layout.bigStreamStarts.size(), 4u);
        expectRoundTrip(tree, {shift, 0});
        // A big stream is one run of sectors: the reader hands out a window, not a copy.
        auto root = CFBEntry::create(*file);
        EXPECT_TRUE(root->entry("big")->data()->sharesBufferWith(*file));
    }
}

TEST(CompoundFileWriter, ManyEntriesSpanManyDirectorySectors) {
    // 40 storages of 7 streams: 321 entries, 81 directory sectors, sibling trees of 40 and 7.
    std::vector<Node> storages;
    for (int s = 0; s < 40; ++s) {
        std::vector<Node> streams;
        for (int k = 0; k < 7; ++k)
            streams.push_back(Node::stream("stream" + std::to_string(k),
                                           pattern(size_t(k * 700 + s), s * 10 + k)));
        storages.push_back(Node::storageOf("storage" + std::to_string(s), std::move(streams),
                                           s % 2 ? kOtherCLSID : CLSID{}));
    }
    const Bytes file = expectRoundTrip(Node::storageOf("R", storages));
    POLE::Storage storage(file);
    ASSERT_TRUE(storage.open());
    EXPECT_EQ(storage.dirTree()->entryCount(), 324u);  // rounded up to whole sectors
}

TEST(CompoundFileWriter, FATsBeyond109SectorsAreListedInDIFATSectors) {
    // 7.5 MB in 512-byte sectors needs about 116 FAT sectors; the stream's end lies in sectors
    // only a DIFAT sector's FAT sectors describe.
    const Node tree = Node::storageOf(
        "R", {Node::stream("huge", pattern(7'500'000, 1)), Node::stream("small", pattern(10, 2)),
              Node::storageOf("s", {Node::stream("after", pattern(5000, 3))})});
    const Bytes file = expectRoundTrip(tree);
    POLE::Storage storage(file);
    ASSERT_TRUE(storage.open());
    EXPECT_GT(storage.io().header.num_bat, 109u);
    EXPECT_EQ(storage.io().header.num_mbat, 1u);

    // Several DIFAT sectors, chained, most of their slots free.
    const Bytes padded = expectRoundTrip(tree, {9, 600});
    POLE::Storage more(padded);
    ASSERT_TRUE(more.open());
    EXPECT_EQ(more.io().header.num_bat, 600u);
    EXPECT_EQ(more.io().header.num_mbat, 4u);  // (600 - 109) / 127, rounded up
}

TEST(CompoundFileWriter, NamesOrderShorterFirstThenUpperCased) {
    auto cmp = [](std::u16string_view a, std::u16string_view b) {
        return compareDirectoryNames(a, b);
    };
    EXPECT_LT(cmp(u"Z", u"aa"), 0);
    EXPECT_EQ(cmp(u"abc", u"ABC"), 0);
    EXPECT_EQ(cmp(u"grüße", u"GRÜßE"), 0);  // 'ß' has no one-unit capital: it stays
    EXPECT_EQ(cmp(u"ä", u"Ä"), 0);
    // Upper-cased, 'a' sorts before '_' although its byte sorts after.
    EXPECT_LT(cmp(u"ab", u"_b"), 0);
    EXPECT_GT(cmp(u"_b", u"AB"), 0);
}

struct RawEntry {
    std::u16string name;
    uint8_t color;
    uint32_t left, right, child;
};

// The directory of `file` as written, entry by entry.
std::vector<RawEntry> rawDirectory(const Bytes& file) {
    POLE::Storage storage(file);
    EXPECT_TRUE(storage.open());
    const auto& io = storage.io();
    const size_t ss = size_t(1) << io.header.b_shift;
    std::vector<RawEntry> out;
    for (uint64_t sector : io.bbat.follow(io.header.dirent_start))
        for (size_t at = size_t(sector + 1) * ss; at < size_t(sector + 2) * ss; at += 128) {
            auto u16 = [&](size_t o) { return uint16_t(file[at + o] | file[at + o + 1] << 8); };
            auto u32 = [&](size_t o) { return uint32_t(u16(o) | uint32_t(u16(o + 2)) << 16); };
            RawEntry e{{}, file[at + 0x43], u32(0x44), u32(0x48), u32(0x4C)};
            for (size_t c = 0; c + 2 < u16(0x40); c += 2)
                e.name += char16_t(u16(c));
            out.push_back(e);
        }
    return out;
}

// Checks one sibling tree: names in order, black root, no red node with a red child, and the
// same number of black nodes on every path. Returns the black height; collects the names.
int checkSiblings(const std::vector<RawEntry>& dir, uint32_t node, bool parentRed,
                  std::vector<std::u16string>& inOrder) {
    if (node == 0xFFFFFFFF) return 1;
    EXPECT_LT(node, dir.size());
    if (node >= dir.size()) return 0;
    const RawEntry& e = dir[node];
    const bool red = e.color == 0;
    EXPECT_FALSE(parentRed && red) << "red node with a red parent at " << node;
    const int left = checkSiblings(dir, e.left, red, inOrder);
    inOrder.push_back(e.name);
    const int right = checkSiblings(dir, e.right, red, inOrder);
    EXPECT_EQ(left, right) << "black heights differ below " << node;
    return left + (red ? 0 : 1);
}

TEST(CompoundFileWriter, SiblingTreesAreRedBlackTreesInDirectoryOrder) {
    const std::string letters = "aB_cD";
    for (size_t n = 1; n <= 70; ++n) {
        SCOPED_TRACE(n);
        std::vector<Node> children;
        for (size_t i = 0; i < n; ++i)
            children.push_back(Node::stream(
                letters[i % 5] + std::to_string(i / 5) + (i % 3 ? "F" : "e"), pattern(i, 1)));
        children.push_back(Node::storageOf("sub", {Node::stream("only", pattern(3, 1))}));
        auto file = writeCompoundFile(Node::storageOf("R", children));
        ASSERT_TRUE(file);
        const auto dir = rawDirectory(*file);
        EXPECT_EQ(dir[0].name, u"Root Entry");
        std::function<void(uint32_t)> checkStorage = [&](uint32_t storage) {
            const uint32_t top = dir[storage].child;
            if (top == 0xFFFFFFFF) return;
            EXPECT_EQ(dir[top].color, 1) << "the top of a sibling tree is black";
            std::vector<std::u16string> names;
            checkSiblings(dir, top, false, names);
            for (size_t i = 1; i < names.size(); ++i)
                EXPECT_LT(compareDirectoryNames(names[i - 1], names[i]), 0);
            for (uint32_t e = 0; e < dir.size(); ++e)
                if (dir[e].child != 0xFFFFFFFF && e != storage && e > storage) checkStorage(e);
        };
        checkStorage(0);
    }
}

TEST(CompoundFileWriter, TreesItCannotWriteAreRefusedWithAReason) {
    auto refused = [](std::vector<Node> children) {
        std::string whyNot;
        const bool written =
            writeCompoundFile(Node::storageOf("R", children), {}, nullptr, &whyNot).has_value();
        EXPECT_FALSE(written);
        return whyNot;
    };
    EXPECT_TRUE(writeCompoundFile(Node::storageOf("R", {Node::stream(std::string(31, 'n'), {})})));
    EXPECT_NE(refused({Node::stream(std::string(32, 'n'), {})}).find("longer than 31"),
              std::string::npos);
    // Non-BMP characters take two units each: 16 of them are 32 units.
    std::string wide;
    for (int i = 0; i < 16; ++i)
        wide += "😀";
    EXPECT_FALSE(refused({Node::stream(wide, {})}).empty());
    for (const char* bad : {"a/b", "a\\b", "a:b", "a!b", ""})
        EXPECT_FALSE(refused({Node::stream(bad, {})}).empty()) << bad;
    EXPECT_FALSE(refused({Node::stream("\xFF\xFE", {})}).empty());
    EXPECT_NE(refused({Node::stream("Data", {}), Node::storageOf("DATA", {})}).find("two entries"),
              std::string::npos);
    // Refused deep down as well as at the top.
    EXPECT_FALSE(
        refused({Node::storageOf("s", {Node::stream("x", {}), Node::stream("X", {})})}).empty());
    // A stream past what a version 3 size field holds; its bytes are never read.
    static const uint8_t byte = 0;
    EXPECT_NE(
        refused({Node::stream("s", Bytes::wrap(nullptr, &byte, size_t(0x80000001)))}).find("2 GiB"),
        std::string::npos);

    Node deep = Node::stream("leaf", pattern(5, 1));
    for (size_t level = 0; level < kMaxCompoundFileDepth; ++level)
        deep = Node::storageOf("d", {std::move(deep)});
    EXPECT_TRUE(writeCompoundFile(Node::storageOf("R", {deep})));
    EXPECT_FALSE(refused({Node::storageOf("d", {std::move(deep)})}).empty());

    std::string whyNot;
    EXPECT_FALSE(writeCompoundFile(Node::storageOf("R", {}), {10, 0}, nullptr, &whyNot));
    EXPECT_FALSE(whyNot.empty());
    // An empty tree is a valid file of its own.
    expectRoundTrip(Node::storageOf("R", {}));
}

// A summary-information property set: code page 1252, title "hello"; `padTo` bytes long.
Bytes summaryInformation(size_t padTo) {
    test::ByteWriter w;
    w.u16(0xFFFE).u16(0).u32(0x00020006).raw(std::string(16, '\0')).u32(1);
    w.raw(std::string("\xE0\x85\x9F\xF2\xF9\x4F\x68\x10\xAB\x91\x08\x00\x2B\x27\xB3\xD9", 16));
    w.u32(48);                                                // the section's offset
    w.u32(48).u32(2).u32(1).u32(24).u32(2).u32(32);           // size, count, (id, offset) twice
    w.u32(0x0002).u16(1252).u16(0);                           // VT_I2
    w.u32(0x001E).u32(6).raw(std::string("hello\0\0\0", 8));  // VT_LPSTR
    std::string bytes = w.str();
    bytes.resize(std::max(bytes.size(), padTo), '\0');
    return Bytes::fromString(bytes);
}

// What file(1), an independent reader, says of `tree` once written.
std::string fileSays(const Node& tree) {
    auto written = writeCompoundFile(tree);
    EXPECT_TRUE(written);
    if (!written) return {};
    const std::string path = testing::TempDir() + "/written-by-the-writer.cfb";
    const std::string out = path + ".txt";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(written->data()), std::streamsize(written->size()));
    EXPECT_EQ(std::system(("file -b '" + path + "' > '" + out + "'").c_str()), 0);
    std::ifstream in(out);
    std::string said((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(path.c_str());
    std::remove(out.c_str());
    return said;
}

TEST(CompoundFileWriter, FileReadsWhatItWrites) {
    if (std::system("command -v file >/dev/null 2>&1") != 0) GTEST_SKIP() << "no file(1)";
    // It finds the summary through the directory and reads it from the mini stream, then,
    // made larger than the cutoff, from sectors of its own.
    for (size_t size : {size_t(100), size_t(5000)}) {
        const std::string said = fileSays(Node::storageOf(
            "R", {Node::stream("Contents", pattern(9000, 1)),
                  Node::stream("\x05SummaryInformation", summaryInformation(size))}));
        EXPECT_EQ(said.rfind("Composite Document File V2 Document", 0), 0u) << said;
        EXPECT_NE(said.find("Code page: 1252, Title: hello"), std::string::npos) << said;
    }
    // It knows a Word document by its root's CLSID and streams.
    const std::string said = fileSays(Node::storageOf(
        "R",
        {Node::stream("WordDocument", pattern(6000, 1)), Node::stream("1Table", pattern(900, 2)),
         Node::stream("\x01"
                      "CompObj",
                      pattern(80, 3))},
        kWordCLSID));
    EXPECT_EQ(said.rfind("CDFV2 Microsoft Word", 0), 0u) << said;
}

TEST(CompoundFileCopy, AStorageInsideAFileBecomesAFileOfItsOwn) {
    const Node object = Node::storageOf(
        "__substg1.0_3701000D",
        {Node::stream("\x01"
                      "CompObj",
                      pattern(76, 1)),
         Node::stream("WordDocument", pattern(9000, 2)),
         Node::storageOf("ObjectPool", {Node::stream("\x03ObjInfo", pattern(6, 3))}, kOtherCLSID)},
        kWordCLSID);
    auto outer = writeCompoundFile(
        Node::storageOf("R", {Node::stream("__properties_version1.0", pattern(40, 4)),
                              Node::storageOf("__attach_version1.0_#00000000", {object})}));
    ASSERT_TRUE(outer);
    auto storage =
        CFBEntry::create(*outer)->entry("__attach_version1.0_#00000000/__substg1.0_3701000D");
    ASSERT_TRUE(storage);
    auto copy = copyOfStorage(*storage);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->clsid, kWordCLSID);
    Node expected = object;
    expected.name = "Root Entry";
    expectRoundTrip(*copy);
    auto written = writeCompoundFile(*copy);
    ASSERT_TRUE(written);
    auto root = CFBEntry::create(*written);
    ASSERT_TRUE(root);
    expectEntryHolds(*root, DirectoryRecords(root->storage()), expected);
    // A stream is not a storage to copy.
    EXPECT_FALSE(copyOfStorage(*CFBEntry::create(*outer)->entry("__properties_version1.0")));
}

TEST(CompoundFileCopy, DamagedStoragesAreCopiedWithinTheInputsSize) {
    test::LogCapture quiet;
    // Streams whose directory entries all claim the one big stream's sectors and size: the
    // copy would be many times the input.
    std::vector<Node> streams{Node::stream("big", pattern(200'000, 1))};
    for (int i = 0; i < 4; ++i)
        streams.push_back(Node::stream("alias" + std::to_string(i), pattern(4096, 2 + i)));
    CompoundFileLayout layout;
    auto written =
        writeCompoundFile(Node::storageOf("R", {Node::storageOf("obj", streams)}), {}, &layout);
    ASSERT_TRUE(written);
    std::string file = written->str();
    const size_t dir = (size_t(layout.firstDirectorySector) + 1) * 512;
    uint32_t start = 0;
    for (size_t e = dir; e < dir + 8 * 128; e += 128)
        if (file.compare(e, 6, std::string("b\0i\0g\0", 6)) == 0)
            start =
                uint32_t(uint8_t(file[e + 0x74]) | uint8_t(file[e + 0x75]) << 8 |
                         uint8_t(file[e + 0x76]) << 16 | uint32_t(uint8_t(file[e + 0x77])) << 24);
    ASSERT_NE(start, 0u);
    for (size_t e = dir; e < dir + 8 * 128; e += 128)
        if (file.compare(e, 2, std::string("a\0", 2)) == 0)
            for (size_t i = 0; i < 4; ++i) {
                file[e + 0x74 + i] = char(start >> (8 * i));
                file[e + 0x78 + i] = char(uint32_t(200'000) >> (8 * i));
            }
    auto obj = CFBEntry::create(Bytes::fromString(file))->entry("obj");
    ASSERT_TRUE(obj);
    EXPECT_FALSE(copyOfStorage(*obj));

    // A storage whose child leads back to itself is copied once, without what leads back.
    std::string loop = written->str();
    for (size_t e = dir; e < dir + 8 * 128; e += 128)
        if (loop.compare(e, 6, std::string("o\0b\0j\0", 6)) == 0) {
            // The first alias (a leaf of obj's sibling tree) gets obj's entry as its child.
            const size_t objIndex = (e - dir) / 128;
            for (size_t a = dir; a < dir + 8 * 128; a += 128)
                if (loop.compare(a, 2, std::string("a\0", 2)) == 0) {
                    for (size_t i = 0; i < 4; ++i)
                        loop[a + 0x4C + i] = char(uint32_t(objIndex) >> (8 * i));
                    loop[a + 0x42] = 1;  // now a storage
                    break;
                }
        }
    auto looped = CFBEntry::create(Bytes::fromString(loop))->entry("obj");
    ASSERT_TRUE(looped);
    auto copy = copyOfStorage(*looped);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->children.size(), 5u);
    EXPECT_TRUE(writeCompoundFile(*copy));
}

}  // namespace
}  // namespace qb
