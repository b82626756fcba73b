// SPDX-License-Identifier: Apache-2.0
// Damaged input of every kind is read without a crash, a hang or a read out of bounds
// (the sanitizer build checks the last).
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "model/MAPIArray.h"
#include "support/LogCapture.h"
#include "support/MessageWalker.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;
using test::TNEFWriter;

using test::touchMessage;

TEST(TNEFRobustness, EveryTruncationOfARichMessage) {
    test::LogCapture quiet;
    const std::string full = test::sampleWinmail();
    for (size_t n = 0; n <= full.size(); ++n) {
        for (bool checksums : {false, true}) {
            auto m = test::readTNEF(full.substr(0, n), !checksums);
            if (m) touchMessage(*m);
        }
    }
}

TEST(TNEFRobustness, RandomMutations) {
    test::LogCapture quiet;
    const std::string full = test::sampleWinmail();
    std::mt19937 rng(20261121);
    for (int round = 0; round < 3000; ++round) {
        std::string data = full;
        const int edits = 1 + int(rng() % 8);
        for (int e = 0; e < edits; ++e) {
            const size_t at = rng() % data.size();
            switch (rng() % 4) {
                case 0:
                    data[at] = static_cast<char>(rng());
                    break;
                case 1:
                    data[at] = static_cast<char>(0xFF);
                    break;  // huge lengths and counts
                case 2:
                    data.erase(at, rng() % 16);
                    break;
                default:
                    data.insert(at, std::string(rng() % 8, static_cast<char>(rng())));
                    break;
            }
            if (data.empty()) data = "x";
        }
        if (auto m = test::readTNEF(data)) touchMessage(*m);
    }
}

TEST(TNEFRobustness, HostileSizesAreAnsweredQuickly) {
    test::LogCapture quiet;
    const auto start = std::chrono::steady_clock::now();
    // A record claiming 4 GiB.
    TNEFError error;
    auto m = test::readTNEF(TNEFWriter()
                                .subject("s")
                                .raw(ByteWriter().u8(1).u16(0x800F).u16(6).u32(0xFFFFFFFF).str())
                                .str(),
                            true, &error);
    ASSERT_TRUE(m);
    EXPECT_EQ(error.code, 4);
    // A recipient table with a billion rows of a billion properties each.
    auto rows = test::readTNEF(
        TNEFWriter()
            .attr(1, 0x9004, 6,
                  ByteWriter().u32(1'000'000'000).u32(1'000'000'000).u16(1).u16(1).str())
            .str());
    touchMessage(*rows);
    // An attachment whose properties claim a 4 GiB binary.
    PropsWriter huge;
    huge.prop(0x0102, 0x3701, ByteWriter().u32(1).u32(0xFFFFFFFF).str());
    auto att = test::readTNEF(TNEFWriter().attachment("a", "b", &huge).str());
    EXPECT_EQ(att->attachments()[0]->rawData()->view(), "b");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(TNEFRobustness, DeeplyNestedAttachmentsAreCutAtTheDepthLimit) {
    test::LogCapture quiet;
    const std::string iid("\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
    // 10 000 messages, each the only attachment of the one around it. Built from the inside
    // out as prefixes and suffixes, so the test itself stays linear.
    const std::string head = TNEFWriter().attachment("", "").str();
    std::string core = TNEFWriter().subject("innermost").str();
    std::vector<std::string> prefixes, suffixes;
    size_t inner = core.size();
    for (int i = 0; i < 10000; ++i) {
        const size_t value = 16 + inner, pad = (4 - value % 4) % 4;
        const uint32_t props = uint32_t(4 + 4 + 4 + 4 + value + pad);
        prefixes.push_back(head +
                           ByteWriter()
                               .u8(2)
                               .u16(0x9005)
                               .u16(6)
                               .u32(props)
                               .u32(1)
                               .u16(0x000D)
                               .u16(0x3701)
                               .u32(1)
                               .u32(uint32_t(value))
                               .str() +
                           iid);
        suffixes.push_back(std::string(pad + 2, '\0'));
        inner += prefixes.back().size() + suffixes.back().size();
    }
    std::string stream;
    stream.reserve(inner);
    for (auto it = prefixes.rbegin(); it != prefixes.rend(); ++it)
        stream += *it;
    stream += core;
    for (const auto& suffix : suffixes)
        stream += suffix;
    auto m = test::readTNEF(stream);
    std::shared_ptr<OutlookMessage> current = m;
    int depth = 0;
    while (!current->attachments().empty()) {
        auto nested = current->attachments()[0]->nestedMessage();
        if (!nested) break;
        current = nested;
        ++depth;
    }
    EXPECT_EQ(depth, TNEFMessage::kMaxDepth);
}

}  // namespace
}  // namespace qb
