// SPDX-License-Identifier: Apache-2.0
// The front door: format by content, reasons with places, and warnings where reading stopped.
#include "api/OpenMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "support/CompoundFileWriter.h"
#include "support/LogCapture.h"
#include "support/MsgWriter.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"
#include "tnef/TNEFError.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::CFNode;
using testing::HasSubstr;

Bytes bytesOf(const std::string& s) {
    return Bytes::fromString(s);
}

std::string smallMsg() {
    test::MsgFile f;
    f.root.string8(0x001A, "IPM.Note").string8(0x0037, "hello");
    return f.write();
}

TEST(OpenMessage, TellsFormatsByContent) {
    auto tnef = openMessage(bytesOf(test::sampleWinmail()));
    ASSERT_TRUE(tnef);
    EXPECT_EQ(tnef->format, MessageFormat::TNEF);
    EXPECT_STREQ(formatName(tnef->format), "tnef");
    EXPECT_FALSE(tnef->message->report()->partial());

    auto msg = openMessage(bytesOf(smallMsg()));
    ASSERT_TRUE(msg);
    EXPECT_EQ(msg->format, MessageFormat::MSG);
    EXPECT_EQ(msg->message->subject(), "hello");

    // A TNEF stream inside other bytes is found.
    auto embedded = openMessage(bytesOf("MIME junk before\r\n" + test::sampleWinmail()));
    ASSERT_TRUE(embedded);
    EXPECT_EQ(embedded->format, MessageFormat::TNEF);
}

TEST(OpenMessage, FromAFileByPathWhateverItsName) {
    const auto dir = test::makeTestFolder("open-message-file");
    auto write = [&](const std::string& name, const std::string& bytes) {
        std::ofstream(dir / name, std::ios::binary) << bytes;
        return (dir / name).string();
    };
    // The names say the opposite of the content: content decides.
    auto msg = openMessageFile(write("winmail.dat", smallMsg()));
    ASSERT_TRUE(msg);
    EXPECT_EQ(msg->format, MessageFormat::MSG);
    EXPECT_EQ(msg->message->subject(), "hello");
    auto tnef = openMessageFile(write("mail.msg", test::sampleWinmail()));
    ASSERT_TRUE(tnef);
    EXPECT_EQ(tnef->format, MessageFormat::TNEF);
    EXPECT_EQ(tnef->message->subject(),
              openMessage(bytesOf(test::sampleWinmail()))->message->subject());

    const std::string missing = (dir / "missing.dat").string();
    auto none = openMessageFile(missing);
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().domain, "POSIX");
    EXPECT_EQ(none.error().code, ENOENT);
    const std::string empty = write("empty.dat", "");
    auto nothing = openMessageFile(empty);
    ASSERT_FALSE(nothing);
    EXPECT_EQ(nothing.error().domain, kTNEFErrorDomain);
    EXPECT_EQ(nothing.error().code, 3);
    EXPECT_THAT(nothing.error().message(empty), HasSubstr(empty));
    std::filesystem::remove_all(dir);
}

TEST(OpenMessage, FailuresCarryDomainCodeAndPlace) {
    auto empty = openMessage(Bytes());
    ASSERT_FALSE(empty);
    EXPECT_EQ(empty.error().domain, kTNEFErrorDomain);
    EXPECT_EQ(empty.error().code, kTNEFErrorEmpty);
    EXPECT_EQ(empty.error().message("a.dat"),
              "The file \"a.dat\" could not be opened because it is empty.");

    auto text = openMessage(bytesOf("no TNEF here, just text"));
    ASSERT_FALSE(text);
    EXPECT_EQ(text.error().code, kTNEFErrorUnrecognized);
    EXPECT_FALSE(text.error().offset);

    // A Word document is a compound file without message properties.
    auto doc = openMessage(bytesOf(test::CompoundFileWriter().write(
        CFNode::dir("R", {CFNode::stream("WordDocument", std::string(800, 'w'))}))));
    ASSERT_FALSE(doc);
    EXPECT_EQ(doc.error().domain, kOXMessageErrorDomain);
    EXPECT_EQ(doc.error().code, 2);
    EXPECT_EQ(doc.error().withFilename("x.doc"),
              "The file \"x.doc\" is not an Outlook message: it is a Microsoft Word document.");

    // A compound-file signature on a broken header.
    std::string header = test::CompoundFileWriter().write(CFNode::dir("R"));
    header[0x1E] = 40;  // a sector size no file has
    auto bad = openMessage(bytesOf(header));
    ASSERT_FALSE(bad);
    EXPECT_EQ(bad.error().message("m.msg"),
              "the compound file's header is not valid (at offset 0)");
}

TEST(OpenMessage, PropertyStreamHeaderFailureNamesWhereTheStreamIs) {
    test::LogCapture quiet;
    // 16 leading zero bytes are no header form the reader knows.
    for (size_t size : {200, 5000}) {  // in the mini stream, and in sectors of its own
        std::string props(16, '\0');
        props += std::string(size, '\x11');
        const std::string file = test::CompoundFileWriter().write(
            CFNode::dir("R", {CFNode::stream("__properties_version1.0", props),
                              CFNode::stream("__substg1.0_0037001F", "s\0"),
                              CFNode::stream("__substg1.0_1000001F", std::string(300, 'b'))}));
        auto opened = openMessage(bytesOf(file));
        ASSERT_FALSE(opened) << size;
        const ReadError& e = opened.error();
        EXPECT_EQ(e.description, "Unknown header format (headerSize < 24)");
        ASSERT_TRUE(e.offset) << size;
        // The offset is where the stream's bytes really are.
        ASSERT_LT(*e.offset + props.size(), file.size() + 1) << size;
        EXPECT_EQ(file.substr(*e.offset, 64), props.substr(0, 64)) << size;
        EXPECT_THAT(e.message("m.msg"), HasSubstr("(at offset "));
    }
}

TEST(OpenMessage, TNEFThatStopsEarlyIsReadInPartWithTheOffset) {
    test::LogCapture quiet;
    const std::string whole = test::sampleWinmail();

    // Cut inside a record: what came before is kept.
    auto cut = openMessage(bytesOf(whole.substr(0, whole.size() / 2)));
    ASSERT_TRUE(cut);
    EXPECT_TRUE(cut->message->report()->partial());
    auto warnings = cut->message->report()->warnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].text, "reading stopped at a record that runs past the end of the data");
    ASSERT_TRUE(warnings[0].offset);
    const uint8_t level = static_cast<uint8_t>(whole[*warnings[0].offset]);
    EXPECT_TRUE(level == 1 || level == 2);  // the record's first byte

    // Bytes after the last record.
    auto trailing = openMessage(bytesOf(whole + "\r\n"));
    ASSERT_TRUE(trailing);
    warnings = trailing->message->report()->warnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].text,
              "reading stopped at a record of unknown level 0x0D; the last 2 bytes were not read");
    EXPECT_EQ(warnings[0].offset, whole.size());

    // A checksum that does not match, when checksums are checked.
    std::string flipped = whole;
    flipped[6 + 9] ^= 0x01;  // the first record's first data byte
    auto checked = TNEFMessage::create(bytesOf(flipped), nullptr, false);
    ASSERT_TRUE(checked);
    warnings = checked->report()->warnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].text, "reading stopped at a record whose checksum does not match");
    EXPECT_EQ(warnings[0].offset, 6u);
}

TEST(OpenMessage, CompoundFileStreamOffsets) {
    // Every stream's bytes start where fileOffset says, big or small, at either sector size.
    for (unsigned shift : {9u, 12u}) {
        const std::string small(100, 's'), big(9000, 'B'), tiny(1, 't');
        const std::string file = test::CompoundFileWriter(shift).write(
            CFNode::dir("R", {CFNode::stream("a", small), CFNode::stream("b", big),
                              CFNode::stream("c", tiny), CFNode::stream("empty", "")}));
        auto root = CFBEntry::create(bytesOf(file));
        ASSERT_TRUE(root);
        for (auto [name, content] : {std::pair{"a", small}, {"b", big}, {"c", tiny}}) {
            auto offset = root->entry(name)->fileOffset();
            ASSERT_TRUE(offset) << name;
            EXPECT_EQ(file.substr(*offset, std::min<size_t>(content.size(), 512)),
                      content.substr(0, 512))
                << name << " " << shift;
        }
        EXPECT_FALSE(root->entry("empty")->fileOffset());
        EXPECT_FALSE(root->fileOffset());
    }
}

TEST(OpenMessage, CompoundFileCutShortWarnsOnOpenAndOnTheStreamsItLost) {
    test::MsgFile f;
    f.root.string8(0x001A, "IPM.Note")
        .string8(0x0037, "cut")
        .binary(0x1009, std::string(20000, 'r'));
    const std::string whole = f.write();
    auto complete = openMessage(bytesOf(whole));
    ASSERT_TRUE(complete);
    EXPECT_FALSE(complete->message->report()->partial());

    // Sectors are written in order, so the big stream's last sectors go first.
    auto cut = openMessage(bytesOf(whole.substr(0, whole.size() - 4096)));
    ASSERT_TRUE(cut);
    auto root = CFBEntry::create(bytesOf(whole.substr(0, whole.size() - 4096)));
    ASSERT_TRUE(root);
    (void)root->entry("__substg1.0_10090102")->data();
    const auto warnings = root->storage().io().report()->warnings();
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_THAT(warnings[0].text, HasSubstr("the file ends"));
    EXPECT_EQ(warnings[0].offset, whole.size() - 4096);
    EXPECT_THAT(warnings[1].text, HasSubstr("stream /__substg1.0_10090102 breaks off after"));
    EXPECT_TRUE(cut->message->report()->partial());
}

}  // namespace
}  // namespace qb
