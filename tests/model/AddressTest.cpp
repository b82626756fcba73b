// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "model/Address.h"
#include "model/MAPIProps.h"

namespace qb {
namespace {

TEST(Address, EmailIsDerivedFromNameAndAddress) {
    EXPECT_EQ(Address("N", "a@b", std::nullopt).email(), "N <a@b>");
    EXPECT_EQ(Address("", "a@b", std::nullopt).email(), "a@b");
    EXPECT_EQ(Address(std::nullopt, "a@b", std::nullopt).email(), "a@b");
    EXPECT_EQ(Address("N", "", std::nullopt).email(), "N");
    EXPECT_FALSE(Address("", "", std::nullopt).email());
    Address a("N", "a@b", "SMTP", 0x12345);
    EXPECT_EQ(a.trpId(), 0x2345);
    a.setAddress("changed@b");
    EXPECT_EQ(a.email(), "N <a@b>");  // not recomputed
    EXPECT_EQ(a.description(), "N <changed@b>");
}

TEST(Address, AttendeeStringsSplitAtSemicolonSpace) {
    auto two = Address::addressesFormAttendeesString("Ann Lee ann@x.org; Bob <bob@y.org>");
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0]->displayName(), "Ann Lee");
    EXPECT_EQ(two[0]->address(), "ann@x.org");
    EXPECT_EQ(two[1]->displayName(), "Bob");
    EXPECT_EQ(two[1]->address(), "bob@y.org");
    EXPECT_FALSE(two[1]->type());

    auto rfc = Address::addressesFormAttendeesString(
        "\"Lee, Ann\" <ann@x.org>; bob@y.org (Bob B.); =?utf-8?Q?J=C3=B6rg?= <j@z.de>");
    ASSERT_EQ(rfc.size(), 3u);
    EXPECT_EQ(rfc[0]->email(), "Lee, Ann <ann@x.org>");
    EXPECT_EQ(rfc[1]->email(), "Bob B. <bob@y.org>");
    EXPECT_EQ(rfc[2]->email(), "Jörg <j@z.de>");
    EXPECT_EQ(Address::addressesFormAttendeesString("a@x;b@y").size(), 1u);
    EXPECT_TRUE(Address::addressesFormAttendeesString("").empty());
    auto withEmpty = Address::addressesFormAttendeesString("a@x; ; Conference Room");
    ASSERT_EQ(withEmpty.size(), 3u);
    EXPECT_FALSE(withEmpty[1]->email());
    EXPECT_FALSE(withEmpty[2]->email());  // no "@" and no "<": neither name nor address
}

TEST(MAPIPropNameTable, HasItsRowsInOrder) {
    ASSERT_EQ(propertyNameTableSize(), 808u);
    EXPECT_EQ(propertyNameAt(0), "PR_ACKNOWLEDGEMENT_MODE");
    EXPECT_EQ(propertyTagAt(0), 0x00010003u);
    EXPECT_EQ(propertyNameAt(807), "PR_INTERNET_CPID");
    EXPECT_EQ(nameForPropertyTag(0x001A001E), "PR_MESSAGE_CLASS");
    EXPECT_EQ(nameForPropertyTag(0x0037001E), "PR_SUBJECT");
    EXPECT_EQ(nameForPropertyTag(0x1000001E), "PR_BODY");
    EXPECT_EQ(nameForPropertyTag(0x10090102), "PR_RTF_COMPRESSED");
    EXPECT_EQ(nameForPropertyTag(0x3701000D), "PR_ATTACH_DATA_OBJ");
    EXPECT_EQ(nameForPropertyTag(0x3FFD0003), "PR_MESSAGE_CODEPAGE");
    EXPECT_EQ(nameForPropertyTag(0x3FDE0003), "PR_INTERNET_CPID");
    EXPECT_FALSE(nameForPropertyTag(0x8238001E));
    EXPECT_FALSE(nameForPropertyTag(0));
}

}  // namespace
}  // namespace qb
