// SPDX-License-Identifier: Apache-2.0
// Cards read back by Python's vobject: 8-bit contacts in their own script, the photo, and the
// 4.0 form.
#include <gtest/gtest.h>

#include "exporters/VCFExporter.h"
#include "platform/Digest.h"
#include "support/ContactItems.h"
#include "support/TNEFWriter.h"
#include "support/VCardReport.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::PropsWriter;
using test::TNEFWriter;

std::shared_ptr<TNEFMessage> contact(uint32_t codePage, const PropsWriter& props,
                                     const std::string& photo = "") {
    PropsWriter flag;
    flag.boolean(0x7FFF, true);
    TNEFWriter w;
    w.version().oemCodepage(codePage).messageClass("IPM.Contact").mapiProps(props);
    if (!photo.empty()) w.attachment("ContactPicture.jpg", photo, &flag);
    return test::readTNEF(w.str());
}

TEST(VCFVobject, EightBitContactsAreReadInTheirScriptAndThePhotoDecodes) {
    if (!test::haveVobject()) GTEST_SKIP() << "python3-vobject missing";
    const std::string jpeg =
        std::string("\xFF\xD8\xFF\xE0", 4) + std::string(300, '\x11') + "\xFF\xD9";
    PropsWriter russianProps;
    test::addressString(russianProps, 0x8000, 0x8083, "ivan@example.ru");
    auto russian = contact(1251,
                           russianProps
                               .string8(0x3A11, "\xC8\xE2\xE0\xED\xEE\xE2")  // Иванов
                               .string8(0x3A06, "Ivan")
                               .string8(0x3001, "Ivan \xC8\xE2\xE0\xED\xEE\xE2")
                               .string8(0x3A27, "\xCC\xEE\xF1\xEA\xE2\xE0")  // Москва
                               .string8(0x3A1C, "+7 900 000-00-00"),
                           jpeg);
    auto japanese = contact(932, PropsWriter()
                                     .string8(0x3A11, "\x8E\x52\x93\x63")  // 山田
                                     .string8(0x3A06, "\x91\xBE\x98\x59")  // 太郎
                                     .string8(0x3A26, "\x93\x8C\x8B\x9E")  // 東京
                                     .string8(0x3A08, "03-0000-0000"));
    std::vector<std::string> texts;
    for (const auto& m : {russian, japanese})
        for (VCardVersion v : {VCardVersion::V21, VCardVersion::V40})
            texts.push_back(VCFExporter::create(m, v)->data()->str());
    auto report = test::vobjectReport(texts);
    ASSERT_TRUE(report);
    const std::string photoSha = sha256Hex(Bytes::fromString(jpeg));
    for (size_t i = 0; i < texts.size(); ++i) {
        const Dictionary& cards = (*report)[i];
        ASSERT_TRUE(cards.is_array()) << cards.dump() << "\n" << texts[i];
        ASSERT_EQ(cards.size(), 1u);
        const Dictionary& c = cards[0];
        const bool v4 = i % 2 == 1;
        EXPECT_EQ(c.at("version"), v4 ? "4.0" : "2.1");
        // vobject places the parts of an address by the 4.0 layout; a 2.1 card has no
        // extended-address part, so its locality sits one place earlier.
        const size_t locality = v4 ? 3 : 2, country = v4 ? 6 : 5;
        if (i < 2) {
            EXPECT_EQ(c.at("n")[0], "Иванов");
            EXPECT_EQ(c.at("fn"), "Ivan Иванов");
            EXPECT_EQ(c.at("adr")[locality], "Москва");
            EXPECT_EQ(c.at("tel")[0][0], v4 ? "tel:+7-900-000-00-00" : "+7 900 000-00-00");
            EXPECT_EQ(c.at("email"), Dictionary::parse(R"(["ivan@example.ru"])"));
            EXPECT_EQ(c.at("photo"), photoSha);
        } else {
            EXPECT_EQ(c.at("n")[0], "山田");
            EXPECT_EQ(c.at("n")[1], "太郎");
            if (v4) {
                EXPECT_EQ(c.at("fn"), "太郎 山田");
            }
            EXPECT_EQ(c.at("adr")[country], "東京");
            EXPECT_EQ(c.at("tel")[0][0], "03-0000-0000");
        }
    }
}

}  // namespace
}  // namespace qb
