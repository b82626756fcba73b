// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mailkit/EmailAddressParsing.h"
#include "mailkit/MKEmailAddress.h"
#include "mailkit/RFC2822Scanner.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

std::vector<std::string> render(const std::vector<MKEmailAddress>& list) {
    std::vector<std::string> out;
    for (const auto& a : list)
        out.push_back(a.addressComment().value_or("-") + " | " + a.userAtDomain().value_or("-"));
    return out;
}

TEST(RFC2822Scanner, ParsesTheMailboxForms) {
    auto list = MKEmailAddress::emailAddressesFromHeaderValue(
        "John Doe <john@example.com>, \"Doe, Jane\" <jane.doe@example.com>,\r\n"
        " plain@example.com, bob@example.com (Bob Smith), \"quoted\\\"local\"@example.com,\r\n"
        "\tJohn Q. Public <jqp@[192.168.0.1]>, =?utf-8?Q?J=C3=B6rg?= <joerg@example.de>,"
        " Team: a@x.org, b@y.org;, Undisclosed recipients:;, <angle@only.org>,"
        " (a leading comment (nested) is no name) spaced . dots @ example . com");
    EXPECT_THAT(
        render(list),
        testing::ElementsAre("John Doe | john@example.com", "Doe, Jane | jane.doe@example.com",
                             "- | plain@example.com", "Bob Smith | bob@example.com",
                             "- | quoted\"local@example.com", "John Q. Public | jqp@[192.168.0.1]",
                             "Jörg | joerg@example.de", "- | a@x.org", "- | b@y.org",
                             "- | angle@only.org", "- | spaced.dots@example.com"));
}

TEST(RFC2822Scanner, ErrorsEndTheListAndAreLogged) {
    test::LogCapture log;
    auto list = MKEmailAddress::emailAddressesFromHeaderValue("ok@x.org, <broken@, after@x.org");
    EXPECT_THAT(render(list), testing::ElementsAre("- | ok@x.org"));
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_THAT(log.lines[0],
                testing::StartsWith("\n\t\tok@x.org, <broken@, after@x.org\n\t\t\t\tERROR: "));
    EXPECT_TRUE(MKEmailAddress::emailAddressesFromHeaderValue("").empty());
    EXPECT_TRUE(MKEmailAddress::emailAddressesFromHeaderValue("  (just a comment) ").empty());
}

TEST(RFC2822Scanner, SurvivesArbitraryInput) {
    test::LogCapture quiet;
    const std::string alphabet = "a@.<>,;:\"\\() \t\r\n=?[]x\xC3\xA9";
    uint32_t seed = 12345;
    for (int round = 0; round < 20000; ++round) {
        std::string s;
        const int n = int(seed % 40);
        for (int i = 0; i < n; ++i) {
            seed = seed * 1103515245 + 12345;
            s += alphabet[(seed >> 16) % alphabet.size()];
        }
        seed = seed * 1103515245 + 12345;
        (void)MKEmailAddress::emailAddressesFromHeaderValue(s);
        (void)MKEmailAddress::fromCommentedAddress(s);
    }
    // Deep comment nesting is bounded.
    (void)MKEmailAddress::emailAddressesFromHeaderValue(std::string(100000, '(') + "a@b");
}

TEST(MKEmailAddress, Representations) {
    MKEmailAddress jorg("Jörg", "j", "example.de");
    EXPECT_EQ(jorg.rfc2822Representation(), "\"=?iso-8859-1?Q?J=F6rg?=\" <j@example.de>");
    EXPECT_EQ(jorg.commentedAddress(), "Jörg <j@example.de>");
    EXPECT_EQ(MKEmailAddress(std::nullopt, "u", "d").rfc2822Representation(), "u@d");
    EXPECT_EQ(MKEmailAddress("Name", std::nullopt, std::nullopt).rfc2822Representation(),
              "\"Name\"");
    EXPECT_EQ(MKEmailAddress("=?utf-8?Q?J=C3=B6rg?=", "j", "d").displayName(), "Jörg");
    EXPECT_EQ(MKEmailAddress(std::nullopt, "u", "d").displayName(), "u@d");
    EXPECT_FALSE(MKEmailAddress(std::nullopt, "u", std::nullopt).isValid());
    EXPECT_EQ(MKEmailAddress(std::nullopt, "alec milton", std::nullopt).addrSpec(),
              "\"alec milton\"");
    EXPECT_EQ(MKEmailAddress(std::nullopt, "a\"b", "x.org").addrSpec(), "\"a\\\"b\"@x.org");
    EXPECT_EQ(MKEmailAddress(std::nullopt, "first.last+tag", "x.org").addrSpec(),
              "first.last+tag@x.org");
    EXPECT_EQ(MKEmailAddress::rfc2822RepresentationForAddresses(
                  {MKEmailAddress(std::nullopt, "a", "x"), MKEmailAddress(),
                   MKEmailAddress("B", "b", "y")}),
              "a@x,\"B\" <b@y>");
    EXPECT_FALSE(MKEmailAddress::rfc2822RepresentationForAddresses({}));
    EXPECT_EQ(MKEmailAddress("a", "b", "c"), MKEmailAddress("a", "b", "c"));
    auto parsed = MKEmailAddress::fromCommentedAddress("Ann <ann@x.org>");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->addressComment(), "Ann");
}

TEST(EmailAddressParsing, LooseHelpers) {
    EXPECT_EQ(emailAddress("Ann Lee ann@x.org"), "ann@x.org");
    EXPECT_EQ(emailFullName("Ann Lee ann@x.org"), "Ann Lee");
    EXPECT_EQ(emailAddress("\"Ann\" <ann@x.org>"), "ann@x.org");
    EXPECT_EQ(emailFullName("\"Ann Lee\" <ann@x.org>"), "Ann Lee");
    EXPECT_EQ(emailFullName("Conference Room <room>"), "Conference Room");
    EXPECT_FALSE(emailAddress("no address"));
    EXPECT_FALSE(emailFullName("no address"));
    EXPECT_EQ(emailFullNameOrAddress("ann@x.org"), "ann@x.org");
    EXPECT_EQ(emailSubjectReply("AW: Re: Hello"), "AW: Re: Hello");
    EXPECT_EQ(emailSubjectReply("re: hello"), "Re: re: hello");
    EXPECT_EQ(emailSubjectForward("Fwd: x"), "Fwd: x");
    EXPECT_EQ(emailSubjectForward("x"), "Fwd: x");
    EXPECT_EQ(qbPngDataURIWithContent("\x89PNG"), "data:image/png;base64,iVBORw==");
    EXPECT_EQ(qbJpgDataURIWithContent("\xFF\xD8"), "data:image/jpeg;base64,/9g=");
}

TEST(EmailAddressParsing, Validation) {
    for (const char* ok : {"user@example.com", "First.Last+tag@sub.example.co.uk",
                           "\"quoted.user\"@example.com", "x@[192.168.1.1]", "USER@EXAMPLE.COM"})
        EXPECT_TRUE(emailAddressValidate(ok)) << ok;
    for (const char* bad :
         {"", "user", "user@", "@example.com", "a..b@example.com", "user@-example.com",
          "user@example", "x@[300.1.1.1]", "Name <user@example.com>"})
        EXPECT_FALSE(emailAddressValidate(bad)) << bad;
}

}  // namespace
}  // namespace qb
