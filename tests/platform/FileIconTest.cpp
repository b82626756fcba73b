// File icons drawn by the icons module: real 128 x 128 PNGs, one per type, kept, the name
// drawn under the small icon, and safe from several threads.
#include "platform/FileIcon.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "PNGCheck.h"

namespace qb {
namespace {

const std::vector<std::string> kNames = {
    "report.pdf",
    "a.txt",
    "noext",
    std::string(196, 'x') + ".doc",
    "\xE4\xBC\x9A\xE8\xAD\xB0\xE8\xB3\x87\xE6\x96\x99.docx",  // 会議資料.docx
    "C:\\Users\\bob\\archive.zip",
    "",
    "bad \xFF\xFE utf8\n.txt"};

Bytes typeIcon(std::string_view name) {
    auto icon = fileTypeIconPNG(name);
    EXPECT_TRUE(icon) << name;
    return icon ? *icon : Bytes();
}

TEST(FileIcon, EveryNameGivesA128SquarePNG) {
    for (const auto& name : kNames) {
        SCOPED_TRACE(name);
        for (auto icon : {fileTypeIconPNG(name), fileIconWithNamePNG(name)}) {
            ASSERT_TRUE(icon);
            auto header = test::readPNGHeader(*icon);
            ASSERT_TRUE(header);
            EXPECT_EQ(header->width, 128u);
            EXPECT_EQ(header->height, 128u);
            EXPECT_TRUE(test::DecodedPNG::decode(*icon));
        }
    }
}

TEST(FileIcon, TypesHaveTheirOwnIconsAndUnknownOnesTheGenericOne) {
    Bytes pdf = typeIcon("report.pdf"), txt = typeIcon("a.txt"), zip = typeIcon("a.zip");
    Bytes unknown = typeIcon("data.qqzzxy"), none = typeIcon("noext");
    EXPECT_FALSE(pdf == txt);
    EXPECT_FALSE(pdf == zip);
    EXPECT_FALSE(txt == zip);
    EXPECT_TRUE(unknown == none);
    EXPECT_FALSE(unknown == pdf);
    EXPECT_FALSE(unknown == txt);
    // The extension decides, in any case and behind any folder.
    EXPECT_TRUE(typeIcon("REPORT.PDF") == pdf);
    EXPECT_TRUE(typeIcon("C:\\docs\\x.pdf") == pdf);
    // A type without an icon of its own takes its generic one: Word files look like PDFs.
    EXPECT_TRUE(typeIcon("letter.docx") == pdf);

    // The type icon fills the picture; it is not a blank square.
    auto decoded = test::DecodedPNG::decode(pdf);
    ASSERT_TRUE(decoded);
    EXPECT_GT(decoded->opaqueIn(0, 0, 128, 128), 128 * 128 / 3);
}

TEST(FileIcon, EachTypeIsDrawnOnceAndKept) {
    Bytes first = typeIcon("one.pdf");
    Bytes second = typeIcon("two.pdf");
    EXPECT_TRUE(first.sharesBufferWith(second));
    EXPECT_FALSE(first.sharesBufferWith(typeIcon("three.txt")));
}

TEST(FileIcon, TheNameStandsUnderTheSmallIconAndWraps) {
    auto shortName = fileIconWithNamePNG("a.pdf");
    auto longName = fileIconWithNamePNG("quarterly report of the northern sales region.pdf");
    auto oneWord = fileIconWithNamePNG(std::string(200, 'w') + ".pdf");
    ASSERT_TRUE(shortName && longName && oneWord);
    auto small = test::DecodedPNG::decode(*shortName);
    auto wrapped = test::DecodedPNG::decode(*longName);
    auto broken = test::DecodedPNG::decode(*oneWord);
    ASSERT_TRUE(small && wrapped && broken);

    // The icon: 64 px, centred at the top; nothing beside it.
    EXPECT_GT(small->opaqueIn(32, 0, 96, 70), 64 * 64 / 3);
    EXPECT_EQ(small->opaqueIn(0, 0, 24, 70), 0);
    EXPECT_EQ(small->opaqueIn(104, 0, 128, 70), 0);
    // The name, dark, under it and centred: a short one inks the middle only.
    EXPECT_GT(small->opaqueIn(40, 72, 88, 128), 0);
    EXPECT_EQ(small->opaqueIn(0, 72, 30, 128), 0);
    EXPECT_EQ(small->opaqueIn(98, 72, 128, 128), 0);
    int darkest = 255;
    for (int y = 72; y < 128; ++y)
        for (int x = 0; x < 128; ++x)
            if (small->alpha(x, y) == 255) darkest = std::min<int>(darkest, small->red(x, y));
    EXPECT_LT(darkest, 80);

    // Longer names take more lines; one long word breaks too, and stays inside the picture.
    int oneLine = small->lowestInkedRow();
    EXPECT_GT(wrapped->lowestInkedRow(), oneLine + 20);
    EXPECT_GT(broken->lowestInkedRow(), oneLine + 20);
    EXPECT_GT(broken->opaqueIn(0, 72, 20, 128), 0);
}

TEST(FileIcon, NamesInOtherScriptsAreDrawn) {
    auto japanese = fileIconWithNamePNG("\xE8\xAB\x8B\xE6\xB1\x82\xE6\x9B\xB8.pdf");  // 請求書.pdf
    ASSERT_TRUE(japanese);
    auto decoded = test::DecodedPNG::decode(*japanese);
    ASSERT_TRUE(decoded);
    EXPECT_GT(decoded->opaqueIn(0, 72, 128, 128), 40);
}

TEST(FileIcon, ThreadsAskingAtOnceGetWhatOneThreadGets) {
    const std::vector<std::string> names = {"t.odt",  "t.png",    "t.mp3",        "t.html",
                                            "t.xlsx", "t.tar.gz", "t.unknownext", "t.c"};
    std::vector<std::vector<Bytes>> seen(8);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < seen.size(); ++t)
        threads.emplace_back([&, t] {
            for (size_t round = 0; round < 3; ++round)
                for (const auto& name : names) {
                    seen[t].push_back(fileTypeIconPNG(name).value_or(Bytes()));
                    seen[t].push_back(fileIconWithNamePNG(name).value_or(Bytes()));
                }
        });
    for (auto& thread : threads)
        thread.join();
    std::vector<Bytes> expected;
    for (size_t round = 0; round < 3; ++round)
        for (const auto& name : names) {
            expected.push_back(typeIcon(name));
            expected.push_back(fileIconWithNamePNG(name).value_or(Bytes()));
        }
    for (const auto& result : seen) {
        ASSERT_EQ(result.size(), expected.size());
        for (size_t i = 0; i < result.size(); ++i) {
            EXPECT_FALSE(result[i].empty());
            EXPECT_TRUE(result[i] == expected[i]) << i;
        }
    }
}

}  // namespace
}  // namespace qb
