// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/Date.h"

namespace qb {
namespace {

TEST(Date, FileTimeIsTruncatedToWholeSeconds) {
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0x019DB1DED53E8000ULL)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0x019DB1DED53E8000ULL + 9'999'999)),
              "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0x01DA5D858688D980ULL)), "2024-02-12T07:31:43Z");
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0)), "1601-01-01T00:00:00Z");
    // Before 1970 the division still truncates toward zero.
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0x019DB1DED53E8000ULL - 1)), "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromFileTime(0x019DB1DED53E8000ULL - 10'000'001)), "1969-12-31T23:59:59Z");
    // Counts far outside any calendar still give a date, not an overflow.
    (void)dateFromFileTime(0x8000000000000001ULL);
    (void)dateFromFileTime(0xFFFFFFFFFFFFFFFFULL);
}

TEST(Date, ComponentsCarryOverLikeALenientCalendar) {
    EXPECT_EQ(formatRFC3339(dateFromComponents(2024, 2, 29, 23, 59, 59)), "2024-02-29T23:59:59Z");
    EXPECT_EQ(formatRFC3339(dateFromComponents(2023, 13, 1, 0, 0, 0)), "2024-01-01T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromComponents(2024, 3, 0, 0, 0, 0)), "2024-02-29T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromComponents(2024, 0, 1, 0, 0, 0)), "2023-12-01T00:00:00Z");
    EXPECT_EQ(formatRFC3339(dateFromComponents(2024, 1, 1, 25, 61, 0)), "2024-01-02T02:01:00Z");
    EXPECT_EQ(formatRFC3339(dateFromComponents(1, 0, 0, 0, 0, 0)), "0000-11-30T00:00:00Z");
}

TEST(Date, ParsesRFC3339WithOffsets) {
    EXPECT_EQ(parseRFC3339("2024-02-12T07:31:43Z"), dateFromComponents(2024, 2, 12, 7, 31, 43));
    EXPECT_EQ(parseRFC3339("2024-02-12T09:31:43.250+02:00"),
              dateFromComponents(2024, 2, 12, 7, 31, 43));
    EXPECT_EQ(parseRFC3339("2024-02-12T02:31:43-05:00"),
              dateFromComponents(2024, 2, 12, 7, 31, 43));
    EXPECT_FALSE(parseRFC3339("2024-02-12"));
    EXPECT_FALSE(parseRFC3339("2024-02-12T07:31:43"));
    EXPECT_FALSE(parseRFC3339("2024-02-12T07:31:43Zjunk"));
    EXPECT_FALSE(parseRFC3339("2024-02-12T07:31:43+02"));
}

}  // namespace
}  // namespace qb
