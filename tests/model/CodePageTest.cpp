// SPDX-License-Identifier: Apache-2.0
// Which code page a message's 8-bit strings are read in: the labels in their order of trust,
// the locale table, the Windows counterparts of 7-bit labels, and the UTF-8 check; then
// whole messages of both formats whose strings only decode right by these rules.
#include <gtest/gtest.h>

#include "OXMSG/OXMessage.h"
#include "model/CodePage.h"
#include "model/PropertyTags.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::MsgFile;
using test::PropsWriter;
using test::TNEFWriter;

TEST(CodePage, LocalesNameTheirScriptsAnsiCodePage) {
    EXPECT_EQ(ansiCodePageForLocale(1041), 932u);     // Japanese
    EXPECT_EQ(ansiCodePageForLocale(0x0804), 936u);   // Chinese (PRC)
    EXPECT_EQ(ansiCodePageForLocale(0x1004), 936u);   // Chinese (Singapore)
    EXPECT_EQ(ansiCodePageForLocale(0x0404), 950u);   // Chinese (Taiwan)
    EXPECT_EQ(ansiCodePageForLocale(0x0C04), 950u);   // Chinese (Hong Kong)
    EXPECT_EQ(ansiCodePageForLocale(0x0412), 949u);   // Korean
    EXPECT_EQ(ansiCodePageForLocale(1049), 1251u);    // Russian
    EXPECT_EQ(ansiCodePageForLocale(0x0422), 1251u);  // Ukrainian
    EXPECT_EQ(ansiCodePageForLocale(0x0C1A), 1251u);  // Serbian (Cyrillic)
    EXPECT_EQ(ansiCodePageForLocale(0x081A), 1250u);  // Serbian (Latin)
    EXPECT_EQ(ansiCodePageForLocale(0x0415), 1250u);  // Polish
    EXPECT_EQ(ansiCodePageForLocale(0x0408), 1253u);  // Greek
    EXPECT_EQ(ansiCodePageForLocale(0x041F), 1254u);  // Turkish
    EXPECT_EQ(ansiCodePageForLocale(0x042C), 1254u);  // Azeri (Latin)
    EXPECT_EQ(ansiCodePageForLocale(0x082C), 1251u);  // Azeri (Cyrillic)
    EXPECT_EQ(ansiCodePageForLocale(0x040D), 1255u);  // Hebrew
    EXPECT_EQ(ansiCodePageForLocale(0x0401), 1256u);  // Arabic (Saudi Arabia)
    EXPECT_EQ(ansiCodePageForLocale(0x0429), 1256u);  // Persian
    EXPECT_EQ(ansiCodePageForLocale(0x0427), 1257u);  // Lithuanian
    EXPECT_EQ(ansiCodePageForLocale(0x042A), 1258u);  // Vietnamese
    EXPECT_EQ(ansiCodePageForLocale(0x041E), 874u);   // Thai
    EXPECT_EQ(ansiCodePageForLocale(1031), 1252u);    // German
    EXPECT_EQ(ansiCodePageForLocale(0x0809), 1252u);  // English (United Kingdom)
    EXPECT_EQ(ansiCodePageForLocale(0), 1252u);
}

TEST(CodePage, LabelsThatCannotHoldTheBytesGiveWayToWindowsCodePages) {
    for (uint32_t cp : {50220u, 50221u, 50222u, 51932u})
        EXPECT_EQ(codePageFor8BitText(cp), 932u);
    for (uint32_t cp : {52936u, 51936u})
        EXPECT_EQ(codePageFor8BitText(cp), 936u);
    for (uint32_t cp : {50225u, 51949u})
        EXPECT_EQ(codePageFor8BitText(cp), 949u);
    EXPECT_EQ(codePageFor8BitText(51950), 950u);
    for (uint32_t cp : {20866u, 21866u, 28595u})
        EXPECT_EQ(codePageFor8BitText(cp), 1251u);
    EXPECT_EQ(codePageFor8BitText(28592), 1250u);
    EXPECT_EQ(codePageFor8BitText(28597), 1253u);
    EXPECT_EQ(codePageFor8BitText(28599), 1254u);
    for (uint32_t cp : {28598u, 38598u})
        EXPECT_EQ(codePageFor8BitText(cp), 1255u);
    EXPECT_EQ(codePageFor8BitText(28596), 1256u);
    for (uint32_t cp : {28594u, 28603u})
        EXPECT_EQ(codePageFor8BitText(cp), 1257u);
    // As mail clients read them.
    EXPECT_EQ(codePageFor8BitText(28591), 1252u);
    EXPECT_EQ(codePageFor8BitText(20127), 1252u);
    // Code pages that hold 8-bit text stay; UTF-16 and unknown numbers do not apply.
    EXPECT_EQ(codePageFor8BitText(932), 932u);
    EXPECT_EQ(codePageFor8BitText(65001), 65001u);
    EXPECT_FALSE(codePageFor8BitText(1200));
    EXPECT_FALSE(codePageFor8BitText(99999));
}

TEST(CodePage, FirstLabelThatAppliesWinsAndUTF8MustBeTrue) {
    CodePageLabels all{1250, 1253, 1041, 1251};
    EXPECT_EQ(codePageOf8BitStrings(all, true), 1250u);
    all.messageCodePage.reset();
    EXPECT_EQ(codePageOf8BitStrings(all, true), 1253u);
    all.oemCodePage.reset();
    EXPECT_EQ(codePageOf8BitStrings(all, true), 932u);
    all.localeId.reset();
    EXPECT_EQ(codePageOf8BitStrings(all, true), 1251u);
    EXPECT_EQ(codePageOf8BitStrings({}, true), 1252u);
    // A message code page of UTF-16 does not describe 8-bit strings: the next label does.
    EXPECT_EQ(codePageOf8BitStrings({1200, std::nullopt, 1049, std::nullopt}, true), 1251u);
    // The internet code page names the transport charset only when nothing else is there.
    EXPECT_EQ(codePageOf8BitStrings({std::nullopt, std::nullopt, 1041, 50220}, true), 932u);
    EXPECT_EQ(codePageOf8BitStrings({std::nullopt, std::nullopt, std::nullopt, 50220}, true), 932u);

    const CodePageLabels utf8{65001, std::nullopt, 1049, std::nullopt};
    EXPECT_EQ(codePageOf8BitStrings(utf8, true), 65001u);
    EXPECT_EQ(codePageOf8BitStrings(utf8, false), 1251u);
    EXPECT_EQ(codePageOf8BitStrings({std::nullopt, std::nullopt, std::nullopt, 65001}, false),
              1252u);
}

// A .msg whose 8-bit strings are `bytes`, with the given code-page labels.
std::shared_ptr<OXMessage> msgWithSubject(
    const std::string& bytes, std::initializer_list<std::pair<uint16_t, uint32_t>> labels) {
    MsgFile f;
    f.root.string8(0x0037, bytes).string8(0x0C1A, bytes).string8(0x0C1F, "a@example.org");
    for (auto [id, value] : labels)
        f.root.u32(id, value);
    return OXMessage::create(Bytes::fromString(f.write()));
}

TEST(CodePage, MsgStringsDecodeInTheCodePageTheyAreIn) {
    // Shift-JIS bytes of 日本語 under an ISO-2022-JP label, with a Japanese locale.
    const std::string sjis = "\x93\xFA\x96\x7B\x8C\xEA";
    auto m = msgWithSubject(sjis, {{0x3FDE, 50220}, {0x3FF1, 1041}});
    ASSERT_TRUE(m);
    EXPECT_EQ(m->subject(), "日本語");
    EXPECT_EQ(m->sender()->displayName(), "日本語");
    EXPECT_EQ(ianaNameForEncoding(m->encoding()), "cp932");
    // The label alone points to the same code page.
    EXPECT_EQ(msgWithSubject(sjis, {{0x3FDE, 50220}})->subject(), "日本語");

    // Windows-1252 "öäü" under a Cyrillic internet code page and a German locale.
    m = msgWithSubject("\xF6\xE4\xFC", {{0x3FDE, 1251}, {0x3FF1, 1031}});
    EXPECT_EQ(m->subject(), "öäü");
    EXPECT_EQ(m->encoding(), kWindowsCP1252Encoding);

    // ISO-8859-1 labels: Windows-1252 punctuation, not C1 controls.
    m = msgWithSubject("\x85 \x93q\x94", {{0x3FDE, 28591}});
    EXPECT_EQ(m->subject(), "… “q”");

    // Each other family through its label.
    EXPECT_EQ(msgWithSubject("\xC4\xE3\xBA\xC3", {{0x3FDE, 52936}})->subject(), "你好");
    EXPECT_EQ(msgWithSubject("\xA7\x41\xA6\x6E", {{0x3FFD, 950}})->subject(), "你好");
    EXPECT_EQ(msgWithSubject("\xBE\xC8\xB3\xE7", {{0x3FDE, 51949}})->subject(), "안녕");
    EXPECT_EQ(msgWithSubject("\xEF\xF0\xE8", {{0x3FDE, 20866}})->subject(), "при");  // 1251
    EXPECT_EQ(msgWithSubject("\xB3\xB9", {{0x3FDE, 28592}})->subject(), "łą");       // 1250
    EXPECT_EQ(msgWithSubject("\xE1\xE2", {{0x3FDE, 28597}})->subject(), "αβ");       // 1253
    EXPECT_EQ(msgWithSubject("\xF0\xFE", {{0x3FDE, 28599}})->subject(), "ğş");       // 1254
    EXPECT_EQ(msgWithSubject("\xF9\xEC", {{0x3FDE, 28598}})->subject(), "של");       // 1255
    EXPECT_EQ(msgWithSubject("\xD3\xE1", {{0x3FDE, 28596}})->subject(), "سل");       // 1256
    EXPECT_EQ(msgWithSubject("\xE0\xE8", {{0x3FDE, 28603}})->subject(), "ąč");       // 1257
    EXPECT_EQ(msgWithSubject("\xA1\xA2", {{0x3FF1, 0x041E}})->subject(), "กข");      // 874
    EXPECT_EQ(msgWithSubject("\xE0\xE2", {{0x3FF1, 0x042A}})->subject(), "àâ");      // 1258

    // UTF-8 only when the strings are UTF-8.
    EXPECT_EQ(msgWithSubject("d\xC3\xB6", {{0x3FFD, 65001}})->subject(), "dö");
    m = msgWithSubject("\xCF\xF0\xE8", {{0x3FFD, 65001}, {0x3FF1, 1049}});
    EXPECT_EQ(m->subject(), "При");
    EXPECT_EQ(m->encoding(), kWindowsCP1251Encoding);
}

TEST(CodePage, TNEFStringsUseTheMessageLabelsBeforeTheOEMCodePage) {
    PropsWriter props;
    props.u32(0x3FF1, 1041).u32(0x3FDE, 50220).binary(0x0C1A, "\x93\xFA\x96\x7B", PT_STRING8);
    // The attribute comes before the properties that say how to read it.
    auto m =
        test::readTNEF(TNEFWriter().subject("\x93\xFA\x96\x7B\x8C\xEA").mapiProps(props).str());
    EXPECT_EQ(m->subject(), "日本語");
    EXPECT_EQ(m->encoding(), encodingForWindowsCodePage(932));

    // The OEM code page comes before the locale, the message code page before both.
    PropsWriter locale;
    locale.u32(0x3FF1, 1049);
    m = test::readTNEF(TNEFWriter().oemCodepage(1253).subject("\xE1").mapiProps(locale).str());
    EXPECT_EQ(m->subject(), "α");
    PropsWriter codePage;
    codePage.u32(0x3FFD, 1251).u32(0x3FF1, 1031);
    m = test::readTNEF(TNEFWriter().oemCodepage(1253).subject("\xE1").mapiProps(codePage).str());
    EXPECT_EQ(m->subject(), "б");
}

}  // namespace
}  // namespace qb
