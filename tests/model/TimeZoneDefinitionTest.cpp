// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "model/TimeZoneDefinition.h"
#include "support/CalendarItems.h"

namespace qb {
namespace {

using std::chrono::minutes;

Date at(int y, int mo, int d, int h = 0, int mi = 0) {
    return dateFromComponents(y, mo, d, h, mi, 0);
}

TEST(TimeZoneDefinition, YearlyChangesFallOnTheNamedWeekOfTheMonth) {
    const auto eu = test::westEuropeRule();
    const auto us = test::usEasternRule();
    // The last Sunday of March 2024 is the 31st; of October 2023 the 29th (a month with five).
    EXPECT_EQ(TimeZoneRule::transitionInYear(eu.daylightDate, 2024), at(2024, 3, 31, 2));
    EXPECT_EQ(TimeZoneRule::transitionInYear(eu.standardDate, 2023), at(2023, 10, 29, 3));
    // The second Sunday of March 2017 is the 12th; the first Sunday of November 2017 the 5th.
    EXPECT_EQ(TimeZoneRule::transitionInYear(us.daylightDate, 2017), at(2017, 3, 12, 2));
    EXPECT_EQ(TimeZoneRule::transitionInYear(us.standardDate, 2017), at(2017, 11, 5, 2));
    SystemTime broken;
    broken.month = 13;
    EXPECT_FALSE(TimeZoneRule::transitionInYear(broken, 2017));
}

TEST(TimeZoneDefinition, OffsetsChangeAtTheWallClockTimesOfEachChange) {
    const auto eu = test::westEuropeRule();
    EXPECT_EQ(eu.offsetAt(at(2024, 1, 10, 12)), 60);
    EXPECT_EQ(eu.offsetAt(at(2024, 7, 10, 12)), 120);
    // 2024-03-31 02:00 local standard time is 01:00 UTC.
    EXPECT_EQ(eu.offsetAt(at(2024, 3, 31, 0, 59)), 60);
    EXPECT_EQ(eu.offsetAt(at(2024, 3, 31, 1, 0)), 120);
    // 2024-10-27 03:00 local daylight time is 01:00 UTC.
    EXPECT_EQ(eu.offsetAt(at(2024, 10, 27, 0, 59)), 120);
    EXPECT_EQ(eu.offsetAt(at(2024, 10, 27, 1, 0)), 60);
    EXPECT_EQ(eu.offsetAtLocal(at(2024, 7, 1, 9)), 120);
}

TEST(TimeZoneDefinition, SouthernZonesKeepDaylightTimeAcrossNewYear) {
    const auto sydney = test::sydneyRule();
    EXPECT_EQ(sydney.offsetAt(at(2024, 1, 15)), 660);
    EXPECT_EQ(sydney.offsetAt(at(2023, 12, 31, 13)), 660);
    EXPECT_EQ(sydney.offsetAt(at(2024, 7, 1)), 600);
    EXPECT_TRUE(sydney.isDaylightAtLocal(at(2024, 1, 1, 0, 30)));
    EXPECT_FALSE(sydney.isDaylightAtLocal(at(2024, 6, 1, 12)));
    // Daylight time ends 2024-04-07 03:00 local = 16:00 UTC the day before.
    EXPECT_EQ(sydney.offsetAt(at(2024, 4, 6, 15, 59)), 660);
    EXPECT_EQ(sydney.offsetAt(at(2024, 4, 6, 16, 0)), 600);
}

TEST(TimeZoneDefinition, DefinitionsKeepTheirNameAndTheYearPicksTheRule) {
    // US Eastern before and after the 2007 change of its rules.
    TimeZoneRule old = test::usEasternRule();
    old.year = 2000;
    old.daylightDate.month = 4;  // first Sunday of April
    old.daylightDate.day = 1;
    old.standardDate.month = 10;  // last Sunday of October
    old.standardDate.day = 5;
    TimeZoneRule current = test::usEasternRule();
    current.year = 2007;
    const auto def = BinToTZDEFINITION(
        Bytes::fromString(test::tzDefinitionBytes("Eastern Standard Time", {old, current})));
    ASSERT_TRUE(def);
    EXPECT_EQ(def->keyName, "Eastern Standard Time");
    ASSERT_EQ(def->rules.size(), 2u);
    EXPECT_EQ(def->ruleForYear(2006)->daylightDate.month, 4);
    EXPECT_EQ(def->ruleForYear(2007)->daylightDate.month, 3);
    EXPECT_EQ(def->ruleForYear(2030)->daylightDate.month, 3);
    // Before the first rule, the first rule still holds.
    EXPECT_EQ(def->ruleForYear(1990)->year, 2000);
    EXPECT_EQ(def->ruleForYear(2007)->bias, 300);
    // 2006-04-02 is the change in the old rule: 2006-04-01 is standard time, 04-03 daylight.
    EXPECT_EQ(def->ruleForYear(2006)->offsetAtLocal(at(2006, 4, 1, 12)), -300);
    EXPECT_EQ(def->ruleForYear(2006)->offsetAtLocal(at(2006, 4, 3, 12)), -240);
}

TEST(TimeZoneDefinition, RegistryStructuresReadTheirOneRule) {
    const auto rule = BinToTZREG(Bytes::fromString(test::tzRegBytes(test::westEuropeRule())));
    ASSERT_TRUE(rule);
    EXPECT_EQ(rule->bias, -60);
    EXPECT_EQ(rule->daylightBias, -60);
    EXPECT_EQ(rule->standardDate.month, 10);
    EXPECT_EQ(rule->daylightDate.day, 5);
    EXPECT_EQ(rule->daylightDate.hour, 2);
    EXPECT_FALSE(
        BinToTZREG(Bytes::fromString(test::tzRegBytes(test::westEuropeRule()).substr(0, 47))));
}

TEST(TimeZoneDefinition, DamagedDefinitionsGiveWhatTheirBytesHold) {
    const std::string good =
        test::tzDefinitionBytes("W. Europe Standard Time", {test::westEuropeRule()});
    // A rule count far beyond the data: the one rule there is.
    std::string many = good;
    const size_t countAt = 6 + 2 * 23 + 2;
    many[countAt] = '\xFF';
    many[countAt + 1] = '\xFF';
    auto def = BinToTZDEFINITION(Bytes::fromString(many));
    ASSERT_TRUE(def);
    EXPECT_EQ(def->rules.size(), 1u);
    // No rule, a rule cut short, another version, a key longer than the data: nothing.
    EXPECT_FALSE(BinToTZDEFINITION(Bytes::fromString(test::tzDefinitionBytes("X", {}))));
    EXPECT_FALSE(BinToTZDEFINITION(Bytes::fromString(good.substr(0, good.size() - 1))));
    std::string version = good;
    version[0] = 3;
    EXPECT_FALSE(BinToTZDEFINITION(Bytes::fromString(version)));
    std::string key = good;
    key[6] = '\xFF';
    key[7] = '\x7F';
    EXPECT_FALSE(BinToTZDEFINITION(Bytes::fromString(key)));
    EXPECT_FALSE(BinToTZDEFINITION(Bytes()));
    // Biases that overflow when added: offsets stay within a day.
    TimeZoneRule wild = test::westEuropeRule();
    wild.bias = wild.standardBias = wild.daylightBias = INT32_MIN;
    const auto read = BinToTZREG(Bytes::fromString(test::tzRegBytes(wild)));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->standardOffset(), 1440);
    EXPECT_EQ(read->offsetAt(at(2024, 7, 1)), 1440);
}

}  // namespace
}  // namespace qb
