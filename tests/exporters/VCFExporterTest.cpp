// SPDX-License-Identifier: Apache-2.0
// Contact cards and distribution lists: the 2.1 lines in their order with their sources, the
// file name, list members from one-off entry ids (hostile ones too), the additions address
// books read, and the 4.0 form.
#include <gtest/gtest.h>

#include <functional>

#include "OXMSG/OXMessage.h"
#include "exporters/VCFExporter.h"
#include "mailkit/Base64.h"
#include "model/NamedProperties.h"
#include "platform/Date.h"
#include "platform/StringEncoding.h"
#include "support/ContactItems.h"
#include "support/FakeMessage.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;
using test::TNEFWriter;

const std::string kOneOffProvider(
    "\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\x00\xDD\x01\x0F\x54\x02", 16);

// A TNEF item of this class with these properties; `more` adds records after them.
std::shared_ptr<TNEFMessage> item(std::string_view cls, const PropsWriter& props,
                                  uint32_t codePage = 1252,
                                  const std::function<void(TNEFWriter&)>& more = {}) {
    TNEFWriter w;
    w.version().oemCodepage(codePage).messageClass(cls).mapiProps(props);
    if (more) more(w);
    return test::readTNEF(w.str());
}

// A literal's bytes, NULs included.
template <size_t N>
std::string lit(const char (&s)[N]) {
    return std::string(s, N - 1);
}

std::string cardOf(const std::shared_ptr<TNEFMessage>& m, VCardVersion v = VCardVersion::V21) {
    auto e = VCFExporter::create(m, v);
    return e && e->data() ? e->data()->str() : "<no exporter>";
}

// A one-off entry id: flags, provider, version, string flags, then the strings.
std::string oneOff(uint16_t stringFlags, const std::string& strings, uint32_t flags = 0,
                   uint16_t version = 0, const std::string& provider = kOneOffProvider) {
    return ByteWriter().u32(flags).raw(provider).u16(version).u16(stringFlags).raw(strings).str();
}

std::string wide(const std::string& name, const std::string& type, const std::string& address) {
    return test::utf16le(name) + test::utf16le(type) + test::utf16le(address);
}

TEST(VCFExporter, ContactLinesComeInTheirOrderFromTheirSources) {
    PropsWriter p;
    // The phones are stored in reverse: the card's order is its own.
    const uint16_t phones[] = {0x3A09, 0x3A2F, 0x3A25, 0x3A08, 0x3A1B, 0x3A24,
                               0x3A1C, 0x3A1E, 0x3A02, 0x3A1F, 0x3A21};
    for (int i = 10; i >= 0; --i)
        p.string8(phones[i], std::to_string(i + 1));
    p.string8(0x3A11, "Lee")
        .string8(0x3A06, "Ann")
        .string8(0x3A44, "M;x")
        .string8(0x3A45, "Dr.")
        .string8(0x3A05, "Jr, III")
        .unicode(0x3001, "Ánn Lee")
        .string8(0x3A16, "Lee & Co\\Ltd")
        .string8(0x3A17, "");  // empty: left out
    // Stored under numbers of their own: found by name.
    test::addressString(p, 0x8001, 0x80A3, "ann@home.example");
    test::addressString(p, 0x8002, 0x8083, "ann@example.com");
    p.string8(0x3A2B, "PO 1")
        .string8(0x3A29, "1 Main St\r\nFlat 2")
        .string8(0x3A27,
                 "Montr\xE9"
                 "al")
        .string8(0x3A2A, "12345")
        .string8(0x3A26, "CA")
        .string8(0x1000, "Line1\r\nLine2");
    auto m = item("IPM.Contact", p, 1252,
                  [](TNEFWriter& w) { w.attr(1, 0x8009, 1, lit("0123ABCD\0")); });
    ASSERT_TRUE(m);
    EXPECT_EQ(cardOf(m),
              "BEGIN:VCARD\n"
              "VERSION:2.1\n"
              "UID:0123ABCD\n"
              "N;CHARSET=UTF-8:Lee;Ann;M\\;x;Dr.;Jr\\, III\n"
              "FN;CHARSET=UTF-8:Ánn Lee\n"
              "ORG;CHARSET=UTF-8:Lee & Co\\\\Ltd\n"
              "TEL;TYPE=HOME:1\nTEL;TYPE=HOME:2\nTEL;TYPE=HOME,FAX:3\n"
              "TEL;TYPE=WORK:4\nTEL;TYPE=WORK:5\nTEL;TYPE=WORK,FAX:6\n"
              "TEL;TYPE=CELL:7\nTEL;TYPE=CAR:8\nTEL;TYPE=PREF:9\nTEL:10\nTEL;TYPE=PAGER:11\n"
              "EMAIL:ann@example.com\n"
              "EMAIL:ann@home.example\n"
              "ADR;CHARSET=UTF-8:PO 1;1 Main St\\nFlat 2;Montréal;;12345;CA\n"
              "NOTE;CHARSET=UTF-8:Line1\\nLine2\n"
              "END:VCARD\n");
    EXPECT_EQ(VCFExporter::create(m)->filename(), "Ann Lee.vcf");
}

TEST(VCFExporter, SparseContactsAndTheirFileNames) {
    // Only a display name: six lines, named after it.
    auto m = item("IPM.Contact", PropsWriter().string8(0x3001, "Zo\xEB Q"));
    EXPECT_EQ(cardOf(m),
              "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8:;;;;\nFN;CHARSET=UTF-8:Zoë Q\n"
              "ADR;CHARSET=UTF-8:;;;;;\nEND:VCARD\n");
    EXPECT_EQ(VCFExporter::create(m)->filename(), "Zoë Q.vcf");

    auto name = [](const PropsWriter& p) {
        return *VCFExporter::create(item("IPM.Contact", p))->filename();
    };
    EXPECT_EQ(name(PropsWriter().string8(0x3A06, "Ann").string8(0x3001, "X")), "Ann.vcf");
    EXPECT_EQ(name(PropsWriter().string8(0x3A11, "Lee").string8(0x3001, "X")), "Lee.vcf");
    // Empty names count as missing.
    EXPECT_EQ(name(PropsWriter().string8(0x3A06, "").string8(0x3A11, "").string8(0x3001, "")),
              "vcard.vcf");

    // Without a body property the TNEF body attribute is the note; a lone CR stays as it is.
    EXPECT_EQ(cardOf(item("IPM.Contact", PropsWriter().string8(0x3001, "N"), 1252,
                          [](TNEFWriter& w) { w.attr(1, 0x800C, 2, "a\rb, c"); })),
              "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8:;;;;\nFN;CHARSET=UTF-8:N\n"
              "ADR;CHARSET=UTF-8:;;;;;\nNOTE;CHARSET=UTF-8:a\rb\\, c\nEND:VCARD\n");
}

TEST(VCFExporter, ClassesMetadataAndEmptyLists) {
    for (const char* yes :
         {"IPM.Contact", "IPM.Contact.Custom Form", "IPM.DistList", "IPM.DistListX"})
        EXPECT_TRUE(VCFExporter::canHandleMessageClass(std::string(yes))) << yes;
    for (const char* no : {"IPM.Note", "IPM.Contac", "ipm.contact", "", "IPM"})
        EXPECT_FALSE(VCFExporter::canHandleMessageClass(std::string(no))) << no;
    EXPECT_FALSE(VCFExporter::canHandleMessageClass(std::nullopt));

    auto e = VCFExporter::create(item("IPM.DistList", PropsWriter().string8(0x3001, "Team")));
    ASSERT_TRUE(e);
    EXPECT_TRUE(e->data()->empty());
    EXPECT_EQ(e->mimeType(), "text/x-vcard");
    EXPECT_EQ(e->metadata().dump(), R"({"filename":"Team.vcf","Content-Type":"text/x-vcard"})");
    // Another class builds no card at all.
    EXPECT_TRUE(
        VCFExporter::create(item("IPM.Note", PropsWriter().string8(0x3001, "N")))->data()->empty());
    EXPECT_FALSE(VCFExporter::create(nullptr));
    EXPECT_EQ(
        VCFExporter::create(item("IPM.Contact", PropsWriter()), VCardVersion::V40)->mimeType(),
        "text/vcard");
}

TEST(VCFExporter, DistributionListKeepsOnlyReadableSMTPMembers) {
    const std::string unicodeMember = oneOff(0x8000, wide("Jörg", "SMTP", "joerg@example.de"));
    // 8-bit strings are read from the first half of their bytes only.
    const std::string halved = oneOff(0x0000, lit("ABCD\0SMTPSMTP\0a@b.czzzzz\0"));
    const std::string honest8Bit = oneOff(0x0000, lit("Ann\0SMTP\0ann@example.com\0"));
    const std::string cyrillic =  // "ИванИван" in Windows-1251
        oneOff(0x0000, lit("\xC8\xE2\xE0\xED\xC8\xE2\xE0\xED\0SMTPSMTP\0iv@x.ruzzzzzzz\0"));
    const std::string exchange = oneOff(0x8000, wide("Boss", "EX", "/o=org/cn=boss"));
    std::vector<std::string> values = {unicodeMember, halved, honest8Bit, exchange, cyrillic};
    // Hostile: cut at every length that cannot hold the strings, no terminator, an odd UTF-16
    // tail, flags or version set, another provider.
    for (size_t n : {0, 4, 19, 20, 23, 24})
        values.push_back(unicodeMember.substr(0, n));
    values.push_back(
        oneOff(0x8000, test::utf16le("A") + test::utf16le("SMTP") + test::utf16le("a@b.c", false)));
    values.push_back(oneOff(0x8000, test::utf16le("A") + test::utf16le("SMTP") + lit("a\0@")));
    values.push_back(oneOff(0x8000, wide("F", "SMTP", "f@x.y"), 1));
    values.push_back(oneOff(0x8000, wide("V", "SMTP", "v@x.y"), 0, 1));
    values.push_back(oneOff(0x8000, wide("P", "SMTP", "p@x.y"), 0, 0, std::string(16, 'p')));

    auto m = item(
        "IPM.DistList",
        PropsWriter().string8(0x3001, "Team").rawRecord(test::oneOffMembersRecord(values)), 1251);
    ASSERT_TRUE(m);
    auto e = VCFExporter::create(m);
    ASSERT_EQ(e->distributionListMembers().size(), 3u);
    EXPECT_EQ(e->data()->str(),
              "BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:Jörg\nEMAIL:joerg@example.de\n"
              "END:VCARD\n"
              "BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:AB\nEMAIL:a@b.c\nEND:VCARD\n"
              "BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:Иван\nEMAIL:iv@x.ru\nEND:VCARD\n");
    EXPECT_EQ(e->filename(), "Team.vcf");
    EXPECT_TRUE(
        cardOf(m, VCardVersion::V40)
            .starts_with("BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Jörg\r\nEMAIL:joerg@example.de\r\n"
                         "END:VCARD\r\nBEGIN:VCARD\r\n"));
}

TEST(VCFExporter, MsgFilesFindAddressesAndMembersThroughTheirNameMap) {
    const auto& set = PSETID_Address.bytes();
    test::MsgFile f;
    f.root.string8(0x001A, "IPM.Contact")
        .unicode(0x3001, "Ann")
        .unicode(0x8000, "first@example.com")
        .unicode(0x8001, "second@example.com")
        // Stored under the number the first address has in TNEF, but named otherwise.
        .unicode(0x8083, "not-an-address");
    f.guids = {std::string(set.begin(), set.end())};
    f.named = {{0, 3, 0x8083, ""}, {1, 3, 0x8093, ""}, {0x83, 3, 0x9999, ""}};
    auto contact = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(contact);
    const std::string card = VCFExporter::create(contact)->data()->str();
    EXPECT_NE(card.find("EMAIL:first@example.com\nEMAIL:second@example.com\nADR"),
              std::string::npos)
        << card;
    EXPECT_EQ(card.find("not-an-address"), std::string::npos);

    // A list's members: each value in a stream of its own beside the table of their lengths.
    const std::string a = oneOff(0x8000, wide("A", "SMTP", "a@x.y"));
    const std::string b = oneOff(0x8000, wide("B", "SMTP", "b@x.y"));
    test::MsgFile list;
    list.root.string8(0x001A, "IPM.DistList")
        .stream("__substg1.0_80001102",
                ByteWriter().u32(uint32_t(a.size())).u32(0).u32(uint32_t(b.size())).u32(0).str())
        .stream("__substg1.0_80001102-00000000", a)
        .stream("__substg1.0_80001102-00000001", b);
    list.guids = f.guids;
    list.named = {{0, 3, 0x8054, ""}};
    auto dl = OXMessage::create(Bytes::fromString(list.write()));
    ASSERT_TRUE(dl);
    EXPECT_EQ(VCFExporter::create(dl)->data()->str(),
              "BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:A\nEMAIL:a@x.y\nEND:VCARD\n"
              "BEGIN:VCARD\nVERSION:2.1\nFN;CHARSET=UTF-8:B\nEMAIL:b@x.y\nEND:VCARD\n");
}

// FILETIME ticks of an hour, and a Unix time as a FILETIME.
constexpr uint64_t kTicksPerHour = 36000000000ULL;
uint64_t fileTime(int64_t unixSeconds) {
    return uint64_t(unixSeconds + 11644473600LL) * 10000000ULL;
}

TEST(VCFExporter, AdditionsAppearOnlyWhenTheItemHasThem) {
    const std::string jpeg = std::string("\xFF\xD8\xFF\xE0", 4) + std::string(100, '\x7F') + "end";
    const int64_t may1 = 325987200;  // 1980-05-01 00:00 UTC
    PropsWriter p;
    test::addressString(p, 0x8001, 0x8083, "ann@example.com");
    test::addressString(p, 0x8002, 0x8080, "Ann (ann@example.com)");
    test::addressString(p, 0x8003, 0x8093, "ann@work.example");
    p.string8(0x3001, "Ann")
        .systime(0x3A42, fileTime(may1) - 2 * kTicksPerHour)  // midnight at UTC+2
        .string8(0x3A51, "https://work.example/a,b")
        .string8(0x3A50, "http://home.example/");
    PropsWriter photoFlag, otherFlag;
    photoFlag.boolean(0x7FFF, true);
    otherFlag.boolean(0x7FFF, false);
    const std::string card = cardOf(item("IPM.Contact", p, 1252, [&](TNEFWriter& w) {
        w.attachment("other.jpg", "\xFF\xD8\xFF other", &otherFlag);
        w.attachment("ContactPicture.jpg", jpeg, &photoFlag);
    }));

    std::string photo64;
    for (size_t i = 0; i < jpeg.size(); i += 57)  // 76 Base64 characters a line
        photo64 += " " + base64EncodedString(jpeg.substr(i, 57)) + "\n";
    EXPECT_EQ(card,
              "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8:;;;;\nFN;CHARSET=UTF-8:Ann\n"
              "EMAIL:ann@example.com\nEMAIL:ann@work.example\nADR;CHARSET=UTF-8:;;;;;\n"
              "BDAY:19800501\n"
              "URL;TYPE=WORK:https://work.example/a,b\nURL;TYPE=HOME:http://home.example/\n"
              "X-EMAIL1-DISPLAYNAME;CHARSET=UTF-8:Ann (ann@example.com)\n"
              "PHOTO;ENCODING=BASE64;TYPE=JPEG:\n" +
                  photo64 + "\nEND:VCARD\n");

    // The stored birthday is a local midnight: the nearest day is the one meant.
    for (int64_t hours : {-11, -2, 0, 7, 12})
        EXPECT_EQ(birthdayText(Date(std::chrono::seconds(may1 + hours * 3600))), "19800501")
            << hours;
    EXPECT_FALSE(birthdayText(*parseRFC3339("4501-01-01T00:00:00Z")));
}

TEST(VCFExporter, Version4CardsFoldUseURIsAndTheFullAddress) {
    const std::string longNote = "Ä" + std::string(80, 'x') + "€€€" + std::string(70, 'y');
    PropsWriter p;
    p.string8(0x3A11, "Lee")
        .string8(0x3A06, "Ann")
        .string8(0x3A08, "+1 (555) 010-0100")
        .string8(0x3A09, "555 0101 x12")
        .string8(0x3A02, "+44 20 7946 0000")
        .string8(0x3A1E, "+1-555-0102")
        .string8(0x3A29, "1 Main St")
        .string8(0x3A27, "Town")
        .string8(0x3A26, "NZ")
        .unicode(0x1000, longNote + "\r\nnext\rline");
    const std::string card = cardOf(item("IPM.Contact", p), VCardVersion::V40);
    std::string unfolded;
    for (size_t start = 0; start < card.size();) {
        const size_t end = card.find("\r\n", start);
        ASSERT_NE(end, std::string::npos);
        const std::string line = card.substr(start, end - start);
        EXPECT_LE(line.size(), 75u) << line;
        EXPECT_TRUE(isValidUTF8(line)) << line;
        unfolded += start && line.starts_with(' ') ? line.substr(1) : "\n" + line;
        start = end + 2;
    }
    EXPECT_EQ(unfolded,
              "\nBEGIN:VCARD\nVERSION:4.0\nN:Lee;Ann;;;\nFN:Ann Lee\n"
              "TEL;TYPE=home:555 0101 x12\n"
              "TEL;VALUE=uri;TYPE=work:tel:+1-(555)-010-0100\n"
              "TEL;VALUE=uri;TYPE=x-car:tel:+1-555-0102\n"
              "TEL;VALUE=uri;PREF=1:tel:+44-20-7946-0000\n"
              "ADR:;;1 Main St;Town;;;NZ\n"
              "NOTE:" +
                  longNote + "\\nnext\\nline\nEND:VCARD");

    EXPECT_EQ(telURI(" +49.30(1234)5 "), "tel:+49.30(1234)5");
    for (const char* notGlobal : {"030 1234", "+", "+ -", "+1 555 CALL", "+1 555 0100 ext 2"})
        EXPECT_FALSE(telURI(notGlobal)) << notGlobal;
}

}  // namespace
}  // namespace qb
