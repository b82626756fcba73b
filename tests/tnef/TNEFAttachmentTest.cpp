// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "support/TNEFWriter.h"
#include "tnef/MacBinary.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;
using test::TNEFWriter;

const std::string kMacBinaryOID("\x2A\x86\x48\x86\xF7\x14\x03\x0B\x01", 9);

std::string macBinary(std::string_view dataFork, uint32_t resourceLength = 0, bool mBIN = false,
                      uint8_t byte82 = 0) {
    std::string h(128, '\0');
    h[1] = 5;
    h.replace(2, 5, "hello");
    h[82] = static_cast<char>(byte82);
    const uint32_t d = uint32_t(dataFork.size());
    for (int i = 0; i < 4; ++i) {
        h[83 + i] = static_cast<char>(d >> (24 - 8 * i));
        h[87 + i] = static_cast<char>(resourceLength >> (24 - 8 * i));
    }
    if (mBIN) h.replace(102, 4, "mBIN");
    std::string file = h + std::string(dataFork);
    file.resize(128 + ((dataFork.size() + 127) / 128) * 128 + resourceLength, '\0');
    return file;
}

std::shared_ptr<TNEFMessage> withAttachment(std::string_view title, std::string_view data,
                                            const PropsWriter* props,
                                            std::string_view messageClass = "IPM.Note") {
    PropsWriter message;
    message.string8(0x0070, "The Topic");
    return test::readTNEF(TNEFWriter()
                              .messageClass(messageClass)
                              .mapiProps(message)
                              .attachment(title, data, props)
                              .str());
}

TEST(TNEFAttachment, FileNameFallsBackThroughItsSources) {
    PropsWriter longEmpty;
    longEmpty.string8(0x3707, "").string8(0x3704, "SHORT.TXT").string8(0x3001, "display");
    EXPECT_EQ(withAttachment("title", "x", &longEmpty)->attachments()[0]->filename(), "SHORT.TXT");
    PropsWriter displayOnly;
    displayOnly.string8(0x3001, "display");
    EXPECT_EQ(withAttachment("title", "x", &displayOnly)->attachments()[0]->filename(), "display");
    auto m = withAttachment("title.doc", "x", nullptr);
    EXPECT_FALSE(m->attachments()[0]->mapiprops());
    EXPECT_EQ(m->attachments()[0]->filename(), "title.doc");
    EXPECT_EQ(withAttachment("", "x", nullptr, "IPM.Document.Word")->attachments()[0]->filename(),
              "The Topic");
    EXPECT_FALSE(withAttachment("", "x", nullptr)->attachments()[0]->filename());

    auto transport =
        test::readTNEF(TNEFWriter().attachment("", "x").attr(2, 0x9001, 1, "transport.bin").str());
    EXPECT_EQ(transport->attachments()[0]->filename(), "transport.bin");
}

TEST(TNEFAttachment, TypeIdAndLocationFromProperties) {
    PropsWriter p;
    p.string8(0x370E, "image/png").string8(0x3712, "img1@x").unicode(0x3713, "http://x/a.png");
    // The attachment outlives its message: it keeps what it needs.
    auto a = withAttachment("a.png", "x", &p)->attachments()[0];
    EXPECT_EQ(a->mimeType(), "image/png");
    EXPECT_EQ(a->contentId(), "img1@x");
    EXPECT_EQ(a->contentLocation(), "http://x/a.png");
}

TEST(TNEFAttachment, ContentFromDataBinOverAttachData) {
    PropsWriter p;
    p.binary(0x3701, "from the property");
    auto m = withAttachment("a", "from the attribute", &p);
    EXPECT_EQ(m->attachments()[0]->rawData()->view(), "from the property");
    m = withAttachment("a", "from the attribute", nullptr);
    auto data = m->attachments()[0]->rawData();
    EXPECT_EQ(data->view(), "from the attribute");
    // Zero-copy: the content is a window onto the message's own buffer.
    EXPECT_TRUE(data->sharesBufferWith(m->data()));

    m->attachments()[0]->setRawData(Bytes::fromString("replaced"));
    EXPECT_EQ(m->attachments()[0]->rawData()->view(), "replaced");
}

TEST(TNEFAttachment, MacBinaryIsUnwrappedOnlyWhenTheEncodingSaysSo) {
    const std::string wrapped = macBinary("0123456789");
    PropsWriter encoded;
    encoded.binary(0x3702, kMacBinaryOID);
    EXPECT_EQ(withAttachment("a", wrapped, &encoded)->attachments()[0]->rawData()->view(),
              "0123456789");
    EXPECT_EQ(withAttachment("a", wrapped, nullptr)->attachments()[0]->rawData()->view(), wrapped);
    // Byte 82 set and no "mBIN": not MacBinary after all.
    EXPECT_EQ(withAttachment("a", macBinary("0123456789", 0, false, 1), &encoded)
                  ->attachments()[0]
                  ->rawData()
                  ->size(),
              256u);
}

TEST(TNEFAttachment, MacBinaryHeaderRules) {
    auto fork = [](const std::string& file) {
        return CopyDataForkFromMacBinary(Bytes::fromString(file));
    };
    EXPECT_EQ(fork(macBinary("abc"))->view(), "abc");
    EXPECT_EQ(fork(macBinary("abc", 0, true, 7))->view(), "abc");  // signature overrides byte 82
    EXPECT_FALSE(fork(macBinary("abc", 0, false, 7)));
    EXPECT_FALSE(fork(macBinary("")));                // both forks empty
    EXPECT_FALSE(fork(macBinary("abc", 0x1000001)));  // resource fork above 16 MiB
    EXPECT_FALSE(fork(std::string(127, '\0')));
    std::string noName = macBinary("abc");
    noName[1] = 0;
    EXPECT_FALSE(fork(noName));
    std::string longName = macBinary("abc");
    longName[1] = 32;
    EXPECT_FALSE(fork(longName));
    std::string tooLong = macBinary("abc");
    tooLong[85] = 1;  // data fork claims 259 bytes of 256
    EXPECT_FALSE(fork(tooLong));
    // A secondary header moves the fork to the next multiple of 128.
    std::string secondary = macBinary(std::string(200, 'z'));
    secondary[120] = 10;
    secondary.replace(128, 3, "SEC");
    auto shifted = fork(secondary);
    ASSERT_TRUE(shifted);
    EXPECT_EQ(shifted->size(), 200u);
    EXPECT_EQ(shifted->view().substr(0, 3), "SEC");
    std::string negative = macBinary("abc");
    negative[120] = '\xFF';
    negative[121] = '\x7F';
    EXPECT_FALSE(fork(negative));
}

TEST(TNEFAttachment, NestedMessage) {
    const std::string iid("\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
    PropsWriter p;
    p.binary(0x3701, iid + TNEFWriter().subject("inner subject").str(), 0x000D);
    auto m = withAttachment("", "", &p);
    auto nested = m->attachments()[0]->nestedMessage();
    ASSERT_TRUE(nested);
    EXPECT_EQ(nested->subject(), "inner subject");
    EXPECT_EQ(m->attachments()[0]->nestedMessage(), nested);  // kept
    EXPECT_FALSE(withAttachment("a", "b", nullptr)->attachments()[0]->nestedMessage());
}

}  // namespace
}  // namespace qb
