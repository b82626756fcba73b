// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/AttachmentExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "support/EmlReport.h"
#include "support/FakeMessage.h"

namespace qb {
namespace {

using test::address;
using test::FakeMessage;

std::shared_ptr<FakeMessage> note(std::optional<std::string> subject) {
    auto m = FakeMessage::make();
    m->messageClass_ = "IPM.Note";
    m->subject_ = std::move(subject);
    m->mimeBody = "Hello";
    return m;
}

std::string headerBlock(const TNEFMessageExporter& e) {
    const std::string data = e.data()->str();
    return data.substr(0, data.find("\r\n\r\n") + 2);
}

std::vector<std::string> keys(const Dictionary& d) {
    std::vector<std::string> out;
    for (const auto& [k, v] : d.items())
        out.push_back(k);
    return out;
}

TEST(MessageExporter, HeadersAndMetadataFollowTheMessage) {
    auto m = note("Re: a/b \"c\" <d>");
    m->correlator = "<corr@x>";
    m->sender_ = address("Ann Lee", "ann@x.org");
    m->to = {address("Bob", "bob@x.org"), address("", ""), address("Carl, C.", "carl@x.org")};
    m->cc = {address("", "cc@x.org")};
    m->bcc = {address("Hidden", "hidden@x.org")};
    m->date_ = dateFromComponents(2024, 2, 29, 23, 59, 58);

    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
    EXPECT_EQ(e->filename(), "Re ab c d.eml");
    EXPECT_EQ(e->mimeType(), "message/rfc822");
    EXPECT_EQ(
        keys(e->metadataPlist()),
        (std::vector<std::string>{"X-MS-TNEF-Correlator", "From", "ToRecipients", "CCRecipients",
                                  "BCCRecipients", "Subject", "Date", "InternalContents"}));
    const Dictionary& md = e->metadataPlist();
    EXPECT_EQ(md["From"], "Ann Lee <ann@x.org>");
    // The recipient without any address text is left out.
    EXPECT_EQ(md["ToRecipients"], Dictionary::parse(R"(["Bob <bob@x.org>",
                                                       "Carl, C. <carl@x.org>"])"));
    EXPECT_EQ(md["CCRecipients"], Dictionary::parse(R"(["cc@x.org"])"));
    EXPECT_EQ(md["BCCRecipients"], Dictionary::parse(R"(["Hidden <hidden@x.org>"])"));
    EXPECT_EQ(md["Subject"], "Re: a/b \"c\" <d>");
    EXPECT_EQ(md["Date"], "2024-02-29T23:59:58Z");

    const std::string head = headerBlock(*e);
    EXPECT_NE(head.find("From: Ann Lee <ann@x.org>\r\n"), std::string::npos) << head;
    EXPECT_NE(head.find("To: Bob <bob@x.org>, \"Carl, C.\" <carl@x.org>\r\n"), std::string::npos);
    EXPECT_NE(head.find("Cc: cc@x.org\r\n"), std::string::npos);
    EXPECT_NE(head.find("Bbc: Hidden <hidden@x.org>\r\n"), std::string::npos);
    EXPECT_NE(head.find("Subject: Re: a/b \"c\" <d>\r\n"), std::string::npos);
    EXPECT_NE(head.find("Date: Thu, 29 Feb 2024 23:59:58 +0000\r\n"), std::string::npos);
    EXPECT_NE(head.find("Mime-Version: 1.0\r\n"), std::string::npos);
    EXPECT_EQ(head.find("X-Uniform-Type-Identifier"), std::string::npos);

    // The top-level exporter builds the same message but does not serialise it.
    auto top = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    EXPECT_FALSE(top->data());
    EXPECT_EQ(top->metadataPlist(), e->metadataPlist());
    EXPECT_EQ(top->metadata(), Dictionary::parse(R"({"filename": "Re ab c d.eml",
        "Content-Type": "message/rfc822", "x-mac-hide-extension": "yes"})"));
}

TEST(MessageExporter, SubjectsClassesAndEmptyRecipientLists) {
    for (const auto& [subject, recorded] : std::vector<std::pair<std::optional<std::string>, bool>>{
             {std::nullopt, false}, {"", false}, {"message", false}, {"Message", true}}) {
        auto m = note(subject);
        auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
        EXPECT_EQ(e->metadataPlist().contains("Subject"), recorded);
        if (!recorded) {
            EXPECT_EQ(e->filename(), "message.eml");
            EXPECT_NE(headerBlock(*e).find("Subject: message\r\n"), std::string::npos);
        }
    }
    // Only characters that file systems refuse: the word stands in.
    EXPECT_EQ(emlFilenameForSubject("?*:"), "message.eml");

    // Recipients whose addresses are all missing: an empty field and an empty list.
    auto m = note("s");
    m->to = {address("", "")};
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
    EXPECT_EQ(e->metadataPlist()["ToRecipients"], Dictionary::array());
    EXPECT_EQ(headerBlock(*e).rfind("To: \r\n", 0), 0u) << headerBlock(*e);

    const std::vector<std::tuple<std::string, bool, bool>> classes = {
        {"IPM.StickyNote", true, true},
        {"IPM.StickyNote.Custom", true, false},
        {"IPM.Appointment.Foo", false, false},
        {"IPM.Task", false, false},
        {"IPM.Note", true, false},
        {"IPM.Tasks", false, false},
    };
    for (const auto& [cls, isMessage, sticky] : classes) {
        auto c = note("s");
        c->messageClass_ = cls;
        auto x = TNEFMessageExporter::create(c, nullptr, ExportMode::RFC822);
        EXPECT_EQ(x->isMessage(), isMessage) << cls;
        EXPECT_EQ(x->messageClass(), cls);
        EXPECT_EQ(headerBlock(*x).find("X-Uniform-Type-Identifier: com.apple.mail-note") !=
                      std::string::npos,
                  sticky)
            << cls;
    }
}

TEST(MessageExporter, EmbeddedMessagesFillMissingMetadataAndNestAsParts) {
    auto inner = note("Inner subject");
    inner->sender_ = address("Inner", "inner@x.org");
    inner->date_ = dateFromComponents(2001, 2, 3, 4, 5, 6);
    inner->addAttachment("deep.txt", "deep");

    auto wrapper = FakeMessage::make();
    wrapper->messageClass_ = "IPM.Note";
    wrapper->addAttachment("first.txt", "first");
    wrapper->addAttachment("none.bin", std::nullopt);  // no content: skipped silently
    wrapper->addAttachment(std::nullopt, std::nullopt, inner);

    auto e = TNEFMessageExporter::create(wrapper, nullptr, ExportMode::RFC822);
    const Dictionary& md = e->metadataPlist();
    EXPECT_EQ(md["From"], "Inner <inner@x.org>");
    EXPECT_EQ(md["Subject"], "Inner subject");
    EXPECT_EQ(md["Date"], "2001-02-03T04:05:06Z");
    // The wrapper's own header fields stay as they were.
    EXPECT_NE(headerBlock(*e).find("Subject: message\r\n"), std::string::npos);
    EXPECT_EQ(headerBlock(*e).find("From:"), std::string::npos);

    ASSERT_EQ(e->attachmentExporters().size(), 2u);
    auto child = std::dynamic_pointer_cast<TNEFMessageExporter>(e->attachmentExporters()[1]);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->parent(), e);
    EXPECT_TRUE(child->isNestedMessage());
    EXPECT_EQ(child->filename(), "Inner subject.eml");
    EXPECT_EQ(md["InternalContents"], Dictionary::parse(R"([
        {"filename": "first.txt"},
        {"filename": "Inner subject.eml", "Content-Type": "message/rfc822",
         "x-mac-hide-extension": "yes"}])"));

    if (!test::havePythonEmail()) return;
    auto report = test::pythonEmlReport({e->data()->str()});
    ASSERT_TRUE(report);
    const Dictionary& r = (*report)[0];
    EXPECT_TRUE(r["defects"].empty());
    ASSERT_EQ(r["attachments"].size(), 2u);
    EXPECT_EQ(r["attachments"][1]["filename"], "Inner subject.eml");
    const Dictionary& nested = r["attachments"][1]["message"];
    EXPECT_EQ(nested["subject"], "Inner subject");
    EXPECT_EQ(nested["from"], Dictionary::parse(R"([["Inner", "inner@x.org"]])"));
    EXPECT_EQ(nested["date"], "Sat, 03 Feb 2001 04:05:06 +0000");
    EXPECT_EQ(nested["attachments"][0]["filename"], "deep.txt");
    EXPECT_EQ(nested["texts"]["text/plain"], "Hello");
}

TEST(MessageExporter, AttachedAppointmentsAreCalendarFiles) {
    auto appointment = FakeMessage::make();
    appointment->messageClass_ = "IPM.Appointment";
    appointment->subject_ = "Planning";
    appointment->addAttachment("agenda.txt", "agenda");
    appointment->addAttachment("map.txt", "map");

    auto m = note("Invite");
    m->addAttachment("before.txt", "b");
    m->addAttachment(std::nullopt, std::nullopt, appointment);

    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::Files, "<table>header</table>");
    std::vector<std::string> names;
    for (const auto& x : e->attachmentExporters())
        names.push_back(*x->filename());
    EXPECT_EQ(names, (std::vector<std::string>{"before.txt", "Planning.ics"}));
    ASSERT_EQ(e->textExporters().size(), 1u);
    EXPECT_EQ(e->textExporters()[0]->filename(), "Message.txt");

    // The header block is the top-level message's first part, and only there.
    ASSERT_TRUE(e->mimeMessage());
    const std::string body = e->mimeMessage()->contentData();
    EXPECT_NE(body.find("<table>header</table>"), std::string::npos);
    EXPECT_EQ(e->mimeMessage()->transferData().find("before.txt"), std::string::npos);
}

}  // namespace
}  // namespace qb
