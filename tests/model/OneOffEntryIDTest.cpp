// SPDX-License-Identifier: Apache-2.0
// One-off entry ids: 8-bit and Unicode forms, SMTP and other address types, and ids that
// are cut short or belong to another provider.
#include <gtest/gtest.h>

#include "model/OneOffEntryID.h"
#include "support/TNEFWriter.h"

namespace qb {
namespace {

const std::string kProvider("\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\x00\xDD\x01\x0F\x54\x02", 16);

std::string oneOff(uint16_t flags, const std::string& strings,
                   const std::string& provider = kProvider) {
    return test::ByteWriter().u32(0).raw(provider).u16(0).u16(flags).raw(strings).str();
}

TEST(OneOffEntryID, ReadsNameTypeAndAddressInBothForms) {
    const std::string wide =
        test::utf16le("Jörg") + test::utf16le("SMTP") + test::utf16le("joerg@example.de");
    auto id = readOneOffEntryID(Bytes::fromString(oneOff(0x9001, wide)), kUTF8Encoding);
    ASSERT_TRUE(id);
    EXPECT_EQ(id->displayName, "Jörg");
    EXPECT_EQ(id->addressType, "SMTP");
    EXPECT_EQ(id->emailAddress, "joerg@example.de");

    // 8-bit strings in the message's code page.
    const std::string narrow = std::string("J\xF6rg\0smtp\0joerg@example.de\0", 27);
    id = readOneOffEntryID(Bytes::fromString(oneOff(0x0001, narrow)), kWindowsCP1252Encoding);
    ASSERT_TRUE(id);
    EXPECT_EQ(id->displayName, "Jörg");
    EXPECT_EQ(
        smtpAddressOfEntryID(Bytes::fromString(oneOff(0x0001, narrow)), kWindowsCP1252Encoding),
        "joerg@example.de");  // the type compared without regard to case
}

TEST(OneOffEntryID, OtherIdsAndDamagedOnesGiveNoAddress) {
    const std::string ex =
        test::utf16le("Ann") + test::utf16le("EX") + test::utf16le("/o=x/cn=ann");
    EXPECT_TRUE(readOneOffEntryID(Bytes::fromString(oneOff(0x8000, ex)), kUTF8Encoding));
    EXPECT_FALSE(smtpAddressOfEntryID(Bytes::fromString(oneOff(0x8000, ex)), kUTF8Encoding));
    // An address-book entry id: another provider.
    std::string other = kProvider;
    other[0] = 'x';
    const std::string smtp = test::utf16le("A") + test::utf16le("SMTP") + test::utf16le("a@b.c");
    EXPECT_FALSE(readOneOffEntryID(Bytes::fromString(oneOff(0x8000, smtp, other)), kUTF8Encoding));
    // Every cut of a valid id fails without reading past it; a missing terminator too.
    const std::string whole = oneOff(0x8000, smtp);
    EXPECT_TRUE(readOneOffEntryID(Bytes::fromString(whole), kUTF8Encoding));
    for (size_t n = 0; n < whole.size(); ++n)
        EXPECT_FALSE(readOneOffEntryID(Bytes::fromString(whole.substr(0, n)), kUTF8Encoding)) << n;
    // A Unicode terminator sits on a character boundary: "A" and U+4200 ("\0B"), not the
    // two zero bytes that straddle them.
    const std::string wide =
        std::string("A\0\0B\0\0", 6) + test::utf16le("SMTP") + test::utf16le("a@b.c");
    auto id = readOneOffEntryID(Bytes::fromString(oneOff(0x8000, wide)), kUTF8Encoding);
    ASSERT_TRUE(id);
    EXPECT_EQ(id->displayName, "A\u4200");
}

TEST(OneOffEntryID, MemberStringsAreCountedWholeButReadByHalfIn8Bit) {
    auto decode = [](std::string_view bytes, bool unicode) {
        std::optional<std::string> out = "untouched";
        const size_t used =
            bin_decode_string(Bytes::fromString(bytes), out, unicode, kWindowsCP1252Encoding);
        return std::pair{used, out};
    };
    using R = std::pair<size_t, std::optional<std::string>>;
    EXPECT_EQ(decode(std::string_view("ABCD\0rest", 9), false), R(5, "AB"));
    EXPECT_EQ(decode(std::string_view("ABC\0", 4), false), R(4, "A"));
    EXPECT_EQ(decode(std::string_view("\0", 1), false), R(1, ""));
    EXPECT_EQ(decode(std::string_view("\xE9\xE9\0", 3), false), R(3, "é"));
    EXPECT_EQ(decode(std::string_view("A\0B\0\0\0x", 7), true), R(6, "AB"));
    // No terminator, an odd UTF-16 length, nothing left: 0, and the output is not touched.
    for (auto [bytes, unicode] :
         {std::pair{std::string_view("ABC"), false}, std::pair{std::string_view("A\0B", 3), true},
          std::pair{std::string_view(), false}, std::pair{std::string_view(), true}})
        EXPECT_EQ(decode(bytes, unicode), R(0, "untouched"));

    // The stricter reading of whole members: flags and version must be 0.
    const std::string smtp = test::utf16le("A") + test::utf16le("SMTP") + test::utf16le("a@b.c");
    auto member = readOneOffMember(Bytes::fromString(oneOff(0x8000, smtp)), kUTF8Encoding);
    ASSERT_TRUE(member);
    EXPECT_EQ(member->emailAddress, "a@b.c");
    std::string flagged = oneOff(0x8000, smtp), versioned = flagged;
    flagged[0] = 1;
    versioned[20] = 1;
    EXPECT_TRUE(readOneOffEntryID(Bytes::fromString(flagged), kUTF8Encoding));
    EXPECT_FALSE(readOneOffMember(Bytes::fromString(flagged), kUTF8Encoding));
    EXPECT_FALSE(readOneOffMember(Bytes::fromString(versioned), kUTF8Encoding));
}

}  // namespace
}  // namespace qb
