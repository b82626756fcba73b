// SPDX-License-Identifier: Apache-2.0
// Contacts inside the message exporter: a contact is no message, its card is one of its
// exports (a file of extract, a part of its .eml), and a contact attached to a message is
// exported as its card.
#include <gtest/gtest.h>

#include <filesystem>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "exporters/VCFExporter.h"
#include "platform/Digest.h"
#include "support/ContactItems.h"
#include "support/EmlReport.h"
#include "support/FakeMessage.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::PropsWriter;
using test::TNEFWriter;

std::shared_ptr<TNEFMessage> annLee(const char* cls = "IPM.Contact") {
    PropsWriter photo, props;
    photo.boolean(0x7FFF, true);
    props.string8(0x0037, "Ann Lee")
        .string8(0x3A06, "Ann")
        .string8(0x3A11, "Lee")
        .string8(0x1000, "met at the fair");
    test::addressString(props, 0x8000, 0x8083, "ann@example.com");
    return test::readTNEF(TNEFWriter()
                              .version()
                              .messageClass(cls)
                              .mapiProps(props)
                              .attachment("ContactPicture.jpg", "\xFF\xD8\xFF\xE0jpeg", &photo)
                              .str());
}

std::string cardBytes(const std::shared_ptr<OutlookMessage>& m) {
    return VCFExporter::create(m)->data()->str();
}

TEST(VCFInMessages, AContactIsNoMessageAndItsCardComesBeforeItsAttachments) {
    auto m = annLee("IPM.Contact.Custom");
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    EXPECT_FALSE(e->isMessage());
    ASSERT_EQ(e->attachmentExporters().size(), 2u);
    auto card = std::dynamic_pointer_cast<VCFExporter>(e->attachmentExporters()[0]);
    ASSERT_TRUE(card);
    EXPECT_EQ(card->filename(), "Ann Lee.vcf");
    EXPECT_TRUE(std::dynamic_pointer_cast<AttachmentExporter>(e->attachmentExporters()[1]));
    const Dictionary& contents = e->metadataPlist().at("InternalContents");
    EXPECT_NE(
        std::find(contents.begin(), contents.end(),
                  Dictionary::parse(R"({"filename":"Ann Lee.vcf","Content-Type":"text/x-vcard"})")),
        contents.end());
    // A note stays a message and gets no card.
    auto note = TNEFMessageExporter::create(annLee("IPM.Note"), nullptr, ExportMode::Files);
    EXPECT_TRUE(note->isMessage());
    for (const auto& x : note->attachmentExporters())
        EXPECT_FALSE(std::dynamic_pointer_cast<VCFExporter>(x));
}

TEST(VCFInMessages, TheEmlOfAContactAndOfAMessageWithOneAttachedCarryTheCard) {
    if (!test::havePythonEmail()) GTEST_SKIP() << "python3 email missing";
    auto contact = annLee();
    auto wrapper = test::FakeMessage::make();
    wrapper->messageClass_ = "IPM.Note";
    wrapper->subject_ = "Contact for you";
    wrapper->addAttachment("Ann Lee", std::nullopt, contact);

    // The attached contact is exported as its card, not as a nested message.
    auto e = TNEFMessageExporter::create(wrapper, nullptr, ExportMode::Files);
    ASSERT_EQ(e->attachmentExporters().size(), 1u);
    EXPECT_TRUE(std::dynamic_pointer_cast<VCFExporter>(e->attachmentExporters()[0]));

    const std::string sha = sha256Hex(Bytes::fromString(cardBytes(contact)));
    auto report = test::pythonEmlReport({rfc822Data(contact).str(), rfc822Data(wrapper).str()});
    ASSERT_TRUE(report);
    for (const auto& eml : *report) {
        EXPECT_EQ(eml.at("defects"), Dictionary::array());
        int cards = 0;
        for (const auto& a : eml.at("attachments")) {
            if (a.at("filename") != "Ann Lee.vcf") continue;
            ++cards;
            EXPECT_EQ(a.at("contentType"), "text/vcard");
            EXPECT_EQ(a.at("sha256"), sha);
        }
        EXPECT_EQ(cards, 1) << eml.dump();
    }
}

TEST(VCFInMessages, ExtractWritesTheCardUnderGivenNameAndSurname) {
    const auto dir = test::makeTestFolder("qb-vcf-extract");
    auto contact = annLee();
    auto result = exportToFolder(contact, dir.string(), "contact");
    ASSERT_TRUE(result);
    const auto card = std::filesystem::path(result->folder) / "Ann Lee.vcf";
    ASSERT_TRUE(std::filesystem::exists(card));
    EXPECT_EQ(test::slurp(card), cardBytes(contact));
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace qb
