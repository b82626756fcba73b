// SPDX-License-Identifier: Apache-2.0
// Values made on first use: once, whichever thread asks first, and again after a failure. In
// the batch tests, so that the ThreadSanitizer run checks it.
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/Lazy.h"

namespace qb {
namespace {

TEST(Lazy, ManyThreadsAskingAtOnceMakeTheValueOnce) {
    for (int round = 0; round < 50; ++round) {
        Lazy<std::string> value;
        std::atomic<int> made{0};
        std::atomic<bool> go{false};
        std::vector<const std::string*> seen(8);
        std::vector<std::thread> threads;
        for (size_t t = 0; t < seen.size(); ++t)
            threads.emplace_back([&, t] {
                while (!go.load()) {
                }
                seen[t] = &value.get([&] {
                    ++made;
                    std::this_thread::yield();  // others arrive while it is being made
                    return std::string(100, 'v');
                });
            });
        go = true;
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(made.load(), 1);
        for (const auto* s : seen)
            EXPECT_EQ(s, seen[0]);
        EXPECT_EQ(*seen[0], std::string(100, 'v'));
    }
}

TEST(Lazy, AFailedMakeIsTriedAgainAndPresetOnlyWinsFirst) {
    Lazy<int> value;
    EXPECT_THROW(value.get([]() -> int { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(value.get([] { return 7; }), 7);
    EXPECT_EQ(value.get([] { return 8; }), 7);
    EXPECT_FALSE(value.preset(9));

    Lazy<int> given;
    EXPECT_TRUE(given.preset(3));
    EXPECT_FALSE(given.preset(4));
    EXPECT_EQ(given.get([] { return 5; }), 3);
}

}  // namespace
}  // namespace qb
