// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "OXMSG/OXMessage.h"
#include "model/NamedProperties.h"
#include "model/PropertyTags.h"
#include "support/Corpus.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

using test::MsgFile;
using test::PropsWriter;

std::string bytesOf(const PropertySet& set) {
    return std::string(reinterpret_cast<const char*>(set.bytes().data()), set.bytes().size());
}

TEST(NamedProperties, PropertySetBytesAreStoredLittleEndianInTheirFirstFields) {
    EXPECT_EQ(bytesOf(PSETID_Meeting),
              std::string("\x90\xDA\xD8\x6E\x0B\x45\x1B\x10\x98\xDA\x00\xAA\x00\x3F\x13\x05", 16));
    EXPECT_EQ(formatGUID(Bytes::fromString(bytesOf(PSETID_Appointment))),
              "{00062002-0000-0000-C000-000000000046}");
}

TEST(NamedProperties, TNEFListsMatchSetNumberAndType) {
    const std::string appointment = bytesOf(PSETID_Appointment);
    const std::string list =
        PropsWriter()
            // Same number in another set, and a string name: neither is it.
            .namedNumber(0x0003, 0x8000, bytesOf(PSETID_Task), 0x8205, PropsWriter::le32(1))
            .namedString(0x0003, 0x8001, appointment, "x", PropsWriter::le32(2))
            .namedNumber(0x0003, 0x8002, appointment, 0x8205, PropsWriter::le32(3))
            .str();
    size_t location = 0;
    const MAPIPropList props =
        MAPIProp::propertiesOfMessage(nullptr, Bytes::fromString(list), location);
    ASSERT_EQ(props.size(), 3u);
    EXPECT_EQ(uint32ForNamedProperty(&props, {PSETID_Appointment, 0x8205, PT_LONG}), 3u);
    EXPECT_EQ(uint32ForNamedProperty(&props, {PSETID_Task, 0x8205, PT_LONG}), 1u);
    EXPECT_FALSE(uint32ForNamedProperty(&props, {PSETID_Appointment, 0x8205, PT_BOOLEAN}));
    EXPECT_FALSE(uint32ForNamedProperty(&props, {PSETID_Common, 0x8205, PT_LONG}));

    // A property without a known set answers by its number.
    const MAPIPropList unnamed{std::make_shared<MAPIProp>(
        MAPIValue::create(Bytes::fromString(PropsWriter::le32(4)), PT_LONG, 0x8217, nullptr),
        PT_LONG, 0x8217, nullptr)};
    EXPECT_EQ(uint32ForNamedProperty(&unnamed, {PSETID_Appointment, 0x8217, PT_LONG}), 4u);
    EXPECT_FALSE(uint32ForNamedProperty(nullptr, {PSETID_Appointment, 0x8205, PT_LONG}));
}

TEST(NamedProperties, MsgFilesAreLookedUpThroughTheirNameMap) {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Appointment").u32(0x8000, 7).u32(0x8001, 9).u32(0x8205, 11);
    f.guids = {bytesOf(PSETID_Appointment)};
    // 0x8000 is PidLidBusyStatus (0x8205); 0x8001 has a number in another set; the stored
    // 0x8205 is some other named property whose id happens to equal the number.
    f.named = {{0, 3, 0x8205, ""}, {1, 1, 0x8205, ""}, {0x205, 1, 0x0001, ""}};
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_EQ(uint32ForNamedProperty(m->mapiprops(), {PSETID_Appointment, 0x8205, PT_LONG}), 7u);
}

TEST(NamedProperties, CorpusAppointmentHasItsStartAndEnd) {
    const auto path = test::corpusDir() / "msg" / "msgClassAppointment.msg";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus";
    auto m = OXMessage::create(Bytes::adoptString(test::slurp(path)));
    ASSERT_TRUE(m);
    const auto start =
        dateForNamedProperty(m->mapiprops(), {PSETID_Appointment, 0x820D, PT_SYSTIME});
    const auto end = dateForNamedProperty(m->mapiprops(), {PSETID_Appointment, 0x820E, PT_SYSTIME});
    ASSERT_TRUE(start && end);
    EXPECT_LT(*start, *end);
}

}  // namespace
}  // namespace qb
