// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/POLE.h"
#include "OXMSG/cfb/byte_array_buffer.h"
#include "support/CompoundFileWriter.h"
#include "support/LogCapture.h"
#include "support/MessageWalker.h"

namespace qb {
namespace {

using test::CFNode;
using test::CompoundFileWriter;

std::string pattern(size_t n, int seed) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>((i * 7 + size_t(seed)) % 251);
    return s;
}

CFNode sampleTree() {
    return CFNode::dir(
        "Root Entry",
        {CFNode::stream("small", pattern(100, 1)), CFNode::stream("just-under", pattern(4095, 2)),
         CFNode::stream("exactly", pattern(4096, 3)), CFNode::stream("big", pattern(70000, 4)),
         CFNode::stream("empty", ""),
         CFNode::dir("storage", {CFNode::stream("inner", pattern(33, 5)),
                                 CFNode::dir("deeper", {CFNode::stream("leaf", "leaf!")})}),
         CFNode::stream("\x05SummaryInformation", pattern(20, 6))});
}

void expectSample(const std::shared_ptr<CFBEntry>& root) {
    ASSERT_TRUE(root);
    EXPECT_EQ(root->name(), "/");
    EXPECT_EQ(root->path(), "/");
    std::vector<std::string> names;
    for (const auto& e : root->entries())
        names.push_back(e->name());
    // Tree order: shorter names first, then bytewise.
    EXPECT_THAT(names, testing::ElementsAre("big", "empty", "small", "exactly", "storage",
                                            "just-under", "SummaryInformation"));
    EXPECT_EQ(root->entry("small")->data()->view(), pattern(100, 1));
    EXPECT_EQ(root->entry("just-under")->data()->view(), pattern(4095, 2));
    EXPECT_EQ(root->entry("exactly")->data()->view(), pattern(4096, 3));
    EXPECT_EQ(root->entry("big")->data()->view(), pattern(70000, 4));
    auto empty = root->entry("empty")->data();
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->empty());
    EXPECT_EQ(root->entry("storage/deeper/leaf")->data()->view(), "leaf!");
    EXPECT_EQ(root->entry("storage/inner")->path(), "/storage/inner");
    EXPECT_EQ(root->entry("SummaryInformation")->length(), 20u);  // the 0x05 prefix is dropped
    EXPECT_FALSE(root->entry("storage")->data());
    EXPECT_TRUE(root->entry("storage")->isDirectoryEntry());
    EXPECT_TRUE(root->entry("small")->entries().empty());
    EXPECT_FALSE(root->entry("SMALL"));
    EXPECT_FALSE(root->entry("storage//inner"));
    EXPECT_FALSE(root->entry("nothing"));
}

TEST(CompoundFile, ReadsStoragesAndStreamsWithEitherSectorSize) {
    for (unsigned shift : {9u, 12u}) {
        SCOPED_TRACE(shift);
        CompoundFileWriter writer(shift);
        const std::string file = writer.write(sampleTree());
        auto root = CFBEntry::create(Bytes::fromString(file));
        expectSample(root);
        // A stream in one run of sectors is a window onto the input, not a copy.
        Bytes input = Bytes::fromString(file);
        auto big = CFBEntry::create(input)->entry("big")->data();
        EXPECT_TRUE(big->sharesBufferWith(input));
    }
    expectSample(CFBEntry::create(
        Bytes::fromString(CompoundFileWriter().trimLastSector().write(sampleTree()))));
}

TEST(CompoundFile, ReadsFATSectorsListedInDIFATSectors) {
    // 7.5 MB in 512-byte sectors needs about 116 FAT sectors: the ones past 109 are listed in
    // a DIFAT sector, and the end of the stream lies in sectors only they describe.
    CFNode tree = sampleTree();
    tree.children.push_back(CFNode::stream("huge", pattern(7'500'000, 9)));
    const std::string file = CompoundFileWriter().write(tree);
    POLE::Storage storage(Bytes::fromString(file));
    ASSERT_TRUE(storage.open());
    EXPECT_GT(storage.io().header.num_bat, 109u);
    EXPECT_EQ(storage.io().header.num_mbat, 1u);
    auto root = CFBEntry::create(Bytes::fromString(file));
    ASSERT_TRUE(root);
    EXPECT_EQ(root->entry("big")->data()->view(), pattern(70000, 4));
    EXPECT_EQ(root->entry("storage/deeper/leaf")->data()->view(), "leaf!");
    EXPECT_EQ(root->entry("huge")->data()->view(), pattern(7'500'000, 9));

    // Many DIFAT sectors, most of them listing free FAT sectors.
    CompoundFileWriter large;
    large.minimumFATSectors(400);
    expectSample(CFBEntry::create(Bytes::fromString(large.write(sampleTree()))));
}

TEST(CompoundFile, LargeMiniStreams) {
    // 300 streams just under the cutoff: a mini stream of about 1.2 MB over thousands of
    // sectors, and a mini FAT of many sectors.
    std::vector<CFNode> streams;
    for (int i = 0; i < 300; ++i)
        streams.push_back(
            CFNode::stream("s" + std::to_string(i), pattern(4000 + size_t(i % 7), i)));
    for (unsigned shift : {9u, 12u}) {
        auto root = CFBEntry::create(
            Bytes::fromString(CompoundFileWriter(shift).write(CFNode::dir("R", streams))));
        ASSERT_TRUE(root);
        ASSERT_EQ(root->entries().size(), 300u);
        for (int i = 0; i < 300; i += 37)
            EXPECT_EQ(root->entry("s" + std::to_string(i))->data()->view(),
                      pattern(4000 + size_t(i % 7), i))
                << i;
    }
}

TEST(CompoundFile, HeaderChecksGiveResultCodes) {
    const std::string good = CompoundFileWriter().write(sampleTree());
    auto result = [](std::string file) {
        POLE::Storage s(Bytes::fromString(file));
        s.open();
        return s.result();
    };
    EXPECT_EQ(result(good), POLE::Ok);
    std::string bad = good;
    bad[0] = 'X';
    EXPECT_EQ(result(bad), POLE::NotOLE);
    EXPECT_EQ(result(""), POLE::NotOLE);
    EXPECT_EQ(result(good.substr(0, 7)), POLE::NotOLE);
    auto withU16 = [&](size_t at, uint16_t v) {
        std::string f = good;
        f[at] = char(v), f[at + 1] = char(v >> 8);
        return f;
    };
    auto withU32 = [&](size_t at, uint32_t v) {
        std::string f = good;
        for (int i = 0; i < 4; ++i)
            f[at + size_t(i)] = char(v >> (8 * i));
        return f;
    };
    EXPECT_EQ(result(withU16(0x1E, 6)), POLE::BadOLE);
    EXPECT_EQ(result(withU16(0x1E, 31)), POLE::BadOLE);
    EXPECT_EQ(result(withU16(0x20, 10)), POLE::BadOLE);  // mini sectors larger than sectors
    EXPECT_EQ(result(withU32(0x38, 4095)), POLE::BadOLE);
    EXPECT_EQ(result(withU32(0x2C, 0)), POLE::BadOLE);
    EXPECT_EQ(result(withU32(0x48, 1)), POLE::BadOLE);  // DIFAT with fewer than 109 FAT sectors
    EXPECT_FALSE(CFBEntry::create(Bytes::fromString(bad)));
}

TEST(CompoundFile, SizeFieldUsesItsLowWordOnly) {
    CompoundFileWriter writer;
    std::string file = writer.write(CFNode::dir("R", {CFNode::stream("s", "hello")}));
    // Entry 1 is the stream; set the upper half of its 64-bit size.
    const size_t entry = test::sectorOffset(writer.layout().firstDirectorySector, 512) + 128;
    file[entry + 0x7C] = 1;
    auto root = CFBEntry::create(Bytes::fromString(file));
    EXPECT_EQ(root->entry("s")->length(), 5u);
    EXPECT_EQ(root->entry("s")->data()->view(), "hello");
}

TEST(CompoundFile, StreamReadsAndByteReads) {
    const std::string file = CompoundFileWriter().write(sampleTree());
    POLE::Storage storage(Bytes::fromString(file));
    ASSERT_TRUE(storage.open());
    for (const char* path : {"/small", "/big", "/just-under"}) {
        POLE::Stream s(&storage, path);
        ASSERT_FALSE(s.fail());
        std::string viaGetch;
        for (int c; (c = s.getch()) != -1;)
            viaGetch += static_cast<char>(c);
        EXPECT_EQ(viaGetch.size(), s.size()) << path;
        s.seek(10);
        std::string piece(50, '\0');
        EXPECT_EQ(s.read({reinterpret_cast<uint8_t*>(piece.data()), 50}), 50u);
        EXPECT_EQ(piece, viaGetch.substr(10, 50));
        EXPECT_EQ(s.tell(), 60u);
    }
    EXPECT_TRUE(POLE::Stream(&storage, "/storage").fail());
    EXPECT_TRUE(POLE::Stream(&storage, "/none").fail());
    EXPECT_EQ(storage.dirEntries("/storage").size(), 2u);
    EXPECT_TRUE(storage.dirEntries("/small").empty());
}

TEST(CompoundFile, CyclesAndBadLinksEndWalks) {
    test::LogCapture quiet;
    CompoundFileWriter writer;
    const std::string file = writer.write(sampleTree());
    const size_t ss = 512;
    auto setFAT = [&](std::string& f, uint32_t sector, uint32_t value) {
        const size_t at = test::sectorOffset(writer.layout().firstFATSector, ss) + sector * 4;
        for (int i = 0; i < 4; ++i)
            f[at + size_t(i)] = char(value >> (8 * i));
    };
    const auto start = std::chrono::steady_clock::now();

    // The big stream's chain loops back to its own first sector after one step.
    std::string cyclic = file;
    const uint32_t big = writer.layout().bigStreamStarts.front();  // "big" sorts before "exactly"
    setFAT(cyclic, big + 1, big);
    auto data = CFBEntry::create(Bytes::fromString(cyclic))->entry("big")->data();
    ASSERT_TRUE(data);
    EXPECT_EQ(data->size(), 2 * ss);

    // A sector number far out of range.
    std::string outOfRange = file;
    setFAT(outOfRange, big, 0x00FFFFFF);
    EXPECT_EQ(CFBEntry::create(Bytes::fromString(outOfRange))->entry("big")->data()->size(), ss);

    // Directory links that point back up the tree.
    std::string loops = file;
    const size_t dir = test::sectorOffset(writer.layout().firstDirectorySector, ss);
    for (size_t e = 1; e < 12; ++e)
        for (size_t link : {0x44, 0x48}) {
            loops[dir + e * 128 + link] = 1;
            loops[dir + e * 128 + link + 1] = loops[dir + e * 128 + link + 2] =
                loops[dir + e * 128 + link + 3] = 0;
        }
    auto root = CFBEntry::create(Bytes::fromString(loops));
    ASSERT_TRUE(root);
    EXPECT_LE(root->entries().size(), 12u);
    (void)root->entry("storage/deeper/leaf");

    // Cut off after the header and the FAT: the directory's sectors are missing.
    EXPECT_FALSE(CFBEntry::create(Bytes::fromString(file.substr(0, 2 * ss))));

    // A header claiming four billion FAT sectors and DIFAT sectors.
    std::string huge = file;
    for (size_t at : {0x2C, 0x48})
        for (int i = 0; i < 4; ++i)
            huge[at + size_t(i)] = char(0xFF);
    (void)CFBEntry::create(Bytes::fromString(huge));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(CompoundFile, RandomDamageNeverCrashes) {
    test::LogCapture quiet;
    const std::string file = CompoundFileWriter().write(sampleTree());
    uint32_t seed = 99;
    auto rnd = [&] { return seed = seed * 1664525 + 1013904223; };
    for (int round = 0; round < 1500; ++round) {
        std::string f = file;
        for (int k = 0; k < 6; ++k)
            f[rnd() % f.size()] = static_cast<char>(rnd() >> 24);
        if (round % 3 == 0) f.resize(rnd() % f.size());
        if (auto root = CFBEntry::create(Bytes::fromString(f))) test::touchStorage(*root);
    }
}

TEST(ByteArrayBuffer, ReadsSeeksAndPutsBack) {
    const uint8_t bytes[] = {'a', 'b', 'c', 'd'};
    POLE::byte_array_buffer buffer(bytes, 4);
    std::istream in(&buffer);
    EXPECT_EQ(in.get(), 'a');
    EXPECT_TRUE(in.putback('a'));
    EXPECT_EQ(in.get(), 'a');
    EXPECT_FALSE(in.putback('z'));  // not the byte before
    in.clear();
    EXPECT_EQ(in.rdbuf()->in_avail(), 3);
    EXPECT_EQ(in.rdbuf()->pubseekoff(2, std::ios_base::beg), std::streampos(-2));  // negated
    EXPECT_EQ(in.get(), 'c');
    EXPECT_EQ(in.rdbuf()->pubseekoff(99, std::ios_base::end),
              std::streampos(-4));  // offset ignored
    EXPECT_EQ(in.rdbuf()->pubseekoff(5, std::ios_base::beg), std::streampos(-1));
    EXPECT_EQ(in.get(), std::char_traits<char>::eof());
}

}  // namespace
}  // namespace qb
