// SPDX-License-Identifier: Apache-2.0
// The read report: warnings, the partial flag and the work budgets of one input.
#include <gtest/gtest.h>

#include "platform/ReadReport.h"

namespace qb {
namespace {

TEST(ReadReport, BudgetsScaleWithTheInputAndWarnOnce) {
    ReadReport report(1000);
    EXPECT_FALSE(report.partial());
    const uint64_t budget =
        1000 / ReadReport::kInputBytesPerPropertyWork + ReadReport::kPropertyWorkFloor;
    EXPECT_TRUE(report.spendPropertyWork(budget - 1, 0));
    EXPECT_TRUE(report.spendPropertyWork(1, 0));
    EXPECT_FALSE(report.spendPropertyWork(1, 42));
    EXPECT_FALSE(report.spendPropertyWork(1, 43));
    ASSERT_EQ(report.warnings().size(), 1u);
    EXPECT_EQ(report.warnings()[0].offset, 42u);
    EXPECT_TRUE(report.partial());

    ReadReport copies(1000);
    const uint64_t allowed =
        1000 * ReadReport::kMaterialisedPerByte + ReadReport::kMaterialisedFloor;
    EXPECT_TRUE(copies.spendMaterialised(allowed));
    EXPECT_FALSE(copies.spendMaterialised(1));
    EXPECT_FALSE(copies.partial());  // the reader says what it left out
}

TEST(ReadReport, KeepsAFixedNumberOfWarnings) {
    ReadReport report(0);
    for (size_t i = 0; i < ReadReport::kMaxWarnings + 5; ++i)
        report.warn("w" + std::to_string(i));
    EXPECT_EQ(report.warnings().size(), ReadReport::kMaxWarnings);
    EXPECT_EQ(report.droppedWarnings(), 5u);
    EXPECT_EQ(report.warnings().front().text, "w0");
    EXPECT_FALSE(report.warnings().front().offset);
}

}  // namespace
}  // namespace qb
