// SPDX-License-Identifier: Apache-2.0
// Signed messages: the MIME entity a .msg or a TNEF stream carries as its one attachment
// gives the message its body in the exports, and stays an attachment byte for byte.
#include "api/SignedContent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/MessageInfo.h"
#include "api/OpenMessage.h"
#include "mailkit/Base64.h"
#include "platform/Digest.h"
#include "support/LogCapture.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"
#include "tnef/TNEFAttachment.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::MsgFile;
using test::MsgProps;
using test::slurp;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kSignedClass = "IPM.Note.SMIME.MultipartSigned";

// A multipart/signed entity around `content` (one whole part: headers, blank line, body),
// with an S/MIME signature part after it.
std::string signedEntity(const std::string& content) {
    return "MIME-Version: 1.0\r\n"
           "Content-Type: multipart/signed;\r\n"
           "\tprotocol=\"application/x-pkcs7-signature\";\r\n"
           "\tmicalg=SHA1;\r\n"
           "\tboundary=\"----=_sig\"\r\n\r\n"
           "This is a multi-part message in MIME format.\r\n\r\n"
           "------=_sig\r\n" +
           content +
           "\r\n------=_sig\r\n"
           "Content-Type: application/x-pkcs7-signature; name=\"smime.p7s\"\r\n"
           "Content-Transfer-Encoding: base64\r\n"
           "Content-Disposition: attachment; filename=\"smime.p7s\"\r\n\r\n"
           "MIAGCSqGSIb3DQEHAqCAMIACAQExCzAJBgUrDgMCGgUAMIAGCSqGSIb3DQEHAQAAoIIKaTCC\r\n\r\n"
           "------=_sig--\r\n";
}

const std::string kPlainPart =
    "Content-Type: text/plain;\r\n\tcharset=\"iso-8859-1\"\r\n"
    "Content-Transfer-Encoding: 7bit\r\n\r\n"
    "The signed words.\r\n";

// multipart/mixed: an alternative of quoted-printable ISO-8859-2 text and Base64 KOI8-R
// HTML, then a PDF attachment whose text must not become the body.
std::string nestedContent() {
    const std::string html = "<html><body><p>\xf0\xd2\xc9\xd7\xc5\xd4 &amp; more</p></body></html>";
    return "Content-Type: multipart/mixed; boundary=\"mix\"\r\n\r\n"
           "--mix\r\n"
           "Content-Type: multipart/alternative; boundary=\"alt\"\r\n\r\n"
           "--alt\r\n"
           "Content-Type: text/plain; charset=ISO-8859-2\r\n"
           "Content-Transfer-Encoding: quoted-printable\r\n\r\n"
           "Za=BF=F3=B3=E6 g=EA=B6l=B1 ja=BC=F1 <b> & a long line that is cut=\r\n"
           " softly.\r\n"
           "--alt\r\n"
           "Content-Type: text/html; charset=\"koi8-r\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64EncodedString(html) +
           "\r\n--alt--\r\n"
           "--mix\r\n"
           "Content-Type: application/pdf; name=\"notes.pdf\"\r\n"
           "Content-Disposition: attachment; filename=\"notes.pdf\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64EncodedString("%PDF-1.4 not the body") + "\r\n--mix--\r\n";
}

// The part model trims the line break that ends a part.
const char* kPolishText = "Zażółć gęślą jaźń <b> & a long line that is cut softly.";
const char* kRussianHTML = "<html><body><p>Привет &amp; more</p></body></html>";

// A .msg of `cls` with an optional plain body and one attachment holding `entity`.
std::string signedMsg(const std::string& entity, const std::string& cls = kSignedClass,
                      const std::string& type = "multipart/signed",
                      const std::optional<std::string>& ownBody = std::nullopt) {
    MsgFile f;
    f.root.string8(0x001A, cls).string8(0x0037, "signed subject");
    if (ownBody) f.root.string8(0x1000, *ownBody);
    MsgProps attachment;
    if (!type.empty()) attachment.string8(0x370E, type);
    attachment.binary(0x3701, entity).u32(0x3705, 1);
    f.attachments.push_back({attachment, {}});
    return f.write();
}

// A TNEF stream of class IPM.Note whose only attachment is `entity`, typed multipart/signed;
// with a correlation key when `correlator` is not empty.
std::string signedTNEF(const std::string& entity, const std::string& correlator = "") {
    test::PropsWriter message;
    message.string8(0x0037, "signed subject");
    if (!correlator.empty()) message.binary(0x007F, correlator + '\0');
    test::PropsWriter attachmentProps;
    attachmentProps.string8(0x370E, "multipart/signed");
    return test::TNEFWriter()
        .version()
        .messageClass("IPM.Note")
        .mapiProps(message)
        .attachment("", entity, &attachmentProps)
        .str();
}

std::shared_ptr<OutlookMessage> open(const std::string& bytes) {
    auto opened = openMessage(Bytes::fromString(bytes));
    EXPECT_TRUE(opened) << (opened ? "" : opened.error().description);
    return opened ? opened->message : nullptr;
}

class SignedContent : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("qb-signed"); }
    void TearDown() override { fs::remove_all(dir_); }

    // The files extract writes for the message, by name.
    std::map<std::string, std::string> extract(const std::shared_ptr<OutlookMessage>& m) {
        std::map<std::string, std::string> files;
        auto result = exportToFolder(m, dir_.string(), "m" + std::to_string(++count_));
        EXPECT_TRUE(result);
        if (result)
            for (const auto& f : result->files)
                files[fs::path(f.path).filename().string()] = slurp(f.path);
        return files;
    }

    // The attachment's file among them: its name has an extension by its content.
    static std::string attachmentFile(const std::map<std::string, std::string>& files) {
        for (const auto& [name, bytes] : files)
            if (name.starts_with("Untitled Attachment")) return bytes;
        return "(none)";
    }

    fs::path dir_;
    int count_ = 0;
};

TEST_F(SignedContent, SignedMsgWithoutBodyShowsTheSignedTextAndKeepsTheEntity) {
    const std::string entity = signedEntity(kPlainPart);
    auto m = open(signedMsg(entity));
    ASSERT_TRUE(m);
    EXPECT_EQ(m->mimeBodyContent(), "The signed words.");
    EXPECT_FALSE(m->mimeHtmlBodyContent());

    auto files = extract(m);
    EXPECT_EQ(files["Message.txt"], "The signed words.");
    EXPECT_THAT(files["View.html"], HasSubstr("The signed words."));
    // The entity is still the one attachment, its bytes and digest untouched.
    ASSERT_EQ(m->attachments().size(), 1u);
    EXPECT_EQ(m->attachments()[0]->rawData()->str(), entity);
    EXPECT_EQ(files["Untitled Attachment.eml"], entity);
    const Dictionary info = messageInfoJSON(*m);
    ASSERT_EQ(info["attachments"].size(), 1u);
    EXPECT_EQ(info["attachments"][0]["sha256"], sha256Hex(Bytes::fromString(entity)));

    const std::string eml = rfc822Data(m).str();
    EXPECT_THAT(eml, HasSubstr("The signed words."));
    EXPECT_THAT(eml, HasSubstr("Content-Type: multipart/signed"));
}

TEST_F(SignedContent, TNEFWithMultipartSignedAttachmentAndNestedAlternative) {
    const std::string entity = signedEntity(nestedContent());
    auto m = open(signedTNEF(entity));
    ASSERT_TRUE(m);
    // Quoted-printable ISO-8859-2 and Base64 KOI8-R, both as UTF-8; the PDF is no body.
    EXPECT_EQ(m->mimeBodyContent(), kPolishText);
    EXPECT_EQ(m->mimeHtmlBodyContent(), kRussianHTML);

    auto files = extract(m);
    EXPECT_EQ(files["Message.txt"], kPolishText);
    EXPECT_THAT(files["Message.html"], HasSubstr("Привет"));
    EXPECT_THAT(files["View.html"], HasSubstr("Привет"));
    ASSERT_EQ(m->attachments().size(), 1u);
    EXPECT_EQ(m->attachments()[0]->rawData()->str(), entity);
    EXPECT_EQ(files["Untitled Attachment.eml"], entity);
    EXPECT_EQ(files.count("notes.pdf"), 0u);

    // The .eml carries both bodies (as quoted-printable) and the signed entity.
    const std::string eml = rfc822Data(m).str();
    EXPECT_THAT(eml, HasSubstr("Content-Type: text/plain"));
    EXPECT_THAT(eml, HasSubstr("Content-Type: text/html"));
    EXPECT_THAT(eml, HasSubstr("Content-Type: multipart/signed"));
}

TEST_F(SignedContent, CharsetsAndTransferEncodingsBecomeUTF8) {
    auto text = [](const std::string& headers, const std::string& body) {
        auto b = bodiesOfMimeEntity(Bytes::fromString(signedEntity(headers + "\r\n" + body)));
        return b && b->plain ? *b->plain : std::string("(none)");
    };
    // Labels that mean Windows-1252 in mail, and a body without a label.
    EXPECT_EQ(text("Content-Type: text/plain; charset=iso-8859-1\r\n"
                   "Content-Transfer-Encoding: quoted-printable\r\n",
                   "=80 caf=E9 =3D x"),
              "€ café = x");
    EXPECT_EQ(text("Content-Type: text/plain; charset=us-ascii\r\n", "na\xefve"), "naïve");
    EXPECT_EQ(text("Content-Type: text/plain\r\n", "d\xc3\xa9j\xc3\xa0"), "déjà");
    EXPECT_EQ(text("Content-Type: text/plain; charset=x-unknown\r\n", "\xe9t\xe9"), "été");
    // UTF-8 that is not: read as Windows-1252. Shift_JIS in Base64.
    EXPECT_EQ(text("Content-Type: text/plain; charset=utf-8\r\n", "\xe9t\xe9"), "été");
    EXPECT_EQ(text("Content-Type: text/plain; charset=Shift_JIS\r\n"
                   "Content-Transfer-Encoding: BASE64\r\n",
                   base64EncodedString("\x93\xfa\x96\x7b")),
              "日本");
    // HTML read in its charset says so no more: its <meta> declarations now name UTF-8.
    auto b = bodiesOfMimeEntity(Bytes::fromString(signedEntity(
        "Content-Type: text/html; charset=windows-1252\r\n\r\n"
        "<html><head><META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=windows-1252\">"
        "<meta charset = 'iso-8859-1'/></head><body><p>caf\xe9 charset=koi8-r</p></body></html>")));
    ASSERT_TRUE(b && b->html);
    EXPECT_EQ(*b->html,
              "<html><head><META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=utf-8\">"
              "<meta charset = 'utf-8'/></head><body><p>café charset=koi8-r</p></body></html>");
    // The quoted-printable text is not escaped for HTML on its way.
    EXPECT_EQ(text("Content-Type: text/plain; charset=utf-8\r\n"
                   "Content-Transfer-Encoding: quoted-printable\r\n",
                   "a < b =C3=A9"),
              "a < b é");
}

TEST_F(SignedContent, EntitiesThatDoNotReadLeaveTheMessageAsItIs) {
    test::LogCapture log;
    // Garbage where a multipart/signed entity should be: one log line.
    for (const std::string& garbage :
         {std::string("\x01\x02\xff garbage without headers", 26), std::string(5000, 'A')}) {
        auto m = open(signedMsg(garbage));
        ASSERT_TRUE(m);
        EXPECT_FALSE(m->mimeBodyContent());
        EXPECT_FALSE(m->mimeHtmlBodyContent());
        EXPECT_EQ(m->attachments()[0]->rawData()->str(), garbage);
        auto files = extract(m);
        EXPECT_EQ(files.count("Message.txt"), 0u);
        EXPECT_EQ(attachmentFile(files), garbage);
    }
    EXPECT_EQ(log.lines,
              std::vector<std::string>(
                  2, "Signed content is not a MIME entity; the message is shown without it"));
    log.lines.clear();

    // Opaque S/MIME (DER, or an application/pkcs7-mime entity) is passed over quietly; so is
    // an entity without text, and a broken one that still has headers.
    const std::string der("\x30\x80\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x02\xa0\x80", 15);
    const std::string pkcs7 =
        "Content-Type: application/pkcs7-mime; smime-type=signed-data; name=\"smime.p7m\"\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\nMIAGCSqGSIb3DQEHAqCAMIACAQE=\r\n";
    for (const auto& [entity, cls, type] :
         {std::tuple{der, std::string("IPM.Note.SMIME"), std::string("application/pkcs7-mime")},
          {der, kSignedClass, "multipart/signed"},
          {pkcs7, kSignedClass, "multipart/signed"},
          {signedEntity("Content-Type: image/png\r\n\r\nPNG"), kSignedClass, "multipart/signed"},
          {"Content-Type: multipart/signed; boundary=\"never\"\r\n\r\n--x\r\n\r\n", kSignedClass,
           "multipart/signed"}}) {
        auto m = open(signedMsg(entity, cls, type));
        ASSERT_TRUE(m);
        EXPECT_FALSE(m->mimeBodyContent()) << entity;
        EXPECT_FALSE(m->mimeHtmlBodyContent()) << entity;
        EXPECT_EQ(m->attachments()[0]->rawData()->str(), entity);
    }
    EXPECT_THAT(log.lines, testing::IsEmpty());

    // Nesting far deeper than the part model splits: no crash, no body from below the limit.
    std::string deep = "Content-Type: text/plain\r\n\r\ndeep text\r\n";
    for (int i = 0; i < 200; ++i)
        deep = "Content-Type: multipart/mixed; boundary=\"b" + std::to_string(i) + "\"\r\n\r\n--b" +
               std::to_string(i) + "\r\n" + deep + "\r\n--b" + std::to_string(i) + "--\r\n";
    auto m = open(signedMsg(signedEntity(deep)));
    ASSERT_TRUE(m);
    EXPECT_FALSE(m->mimeBodyContent());
}

TEST_F(SignedContent, WhichMessagesAndAttachmentsCount) {
    const std::string entity = signedEntity(kPlainPart);
    // Another class: only an attachment typed multipart/signed or named smime.p7m counts.
    EXPECT_TRUE(open(signedMsg(entity, "IPM.Note", "multipart/signed"))->mimeBodyContent());
    EXPECT_FALSE(open(signedMsg(entity, "IPM.Note", "message/rfc822"))->mimeBodyContent());
    {
        MsgFile f;
        f.root.string8(0x001A, "IPM.Note");
        f.attachments.push_back(
            {MsgProps().unicode(0x3707, "SMIME.P7M").binary(0x3701, entity), {}});
        EXPECT_EQ(open(f.write())->mimeBodyContent(), "The signed words.");
    }
    // The signed class with an untyped only attachment (the class says what it is).
    EXPECT_TRUE(open(signedMsg(entity, "ipm.note.smime.multipartsigned", ""))->mimeBodyContent());
    // Two attachments: the signed class picks the signed one; another class none.
    MsgFile two;
    two.root.string8(0x001A, kSignedClass);
    two.attachments.push_back({MsgProps().unicode(0x3707, "a.txt").binary(0x3701, "x"), {}});
    two.attachments.push_back(
        {MsgProps().string8(0x370E, "multipart/signed").binary(0x3701, entity), {}});
    EXPECT_TRUE(open(two.write())->mimeBodyContent());
    two.root = MsgProps().string8(0x001A, "IPM.Note");
    EXPECT_FALSE(open(two.write())->mimeBodyContent());
}

TEST_F(SignedContent, OwnBodiesStillWinWhereTheFallbackDecides) {
    // A plain body of its own stays the text; the signed HTML shows where the message has
    // none of its own.
    const std::string entity = signedEntity(nestedContent());
    auto m = open(signedMsg(entity, kSignedClass, "multipart/signed", "Outlook's own text\r\n"));
    ASSERT_TRUE(m);
    EXPECT_EQ(m->mimeBodyContent(), kPolishText);
    auto files = extract(m);
    EXPECT_EQ(files["Message.txt"], "Outlook's own text\r\n");
    EXPECT_THAT(files["Message.html"], HasSubstr("Привет"));

    // A mail that carries the TNEF and stands in for it keeps its own bodies, both of them.
    const std::string tnef = signedTNEF(entity, "<c@example.org>");
    const std::string mail =
        "From: a@example.org\r\nMIME-Version: 1.0\r\n"
        "Content-Type: multipart/mixed; boundary=\"o\"\r\n\r\n"
        "--o\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nouter text\r\n"
        "--o\r\nContent-Type: application/ms-tnef; name=\"winmail.dat\"\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\n" +
        base64EncodedString(tnef) + "\r\n--o--\r\n";
    auto matching = open("Message-ID: <c@example.org>\r\n" + mail);
    ASSERT_TRUE(matching);
    EXPECT_EQ(matching->mimeBodyContent(), "outer text");
    EXPECT_FALSE(matching->mimeHtmlBodyContent());
    // When the mail does not stand in (another Message-ID), the signed bodies do.
    auto other = open("Message-ID: <d@example.org>\r\n" + mail);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->mimeBodyContent(), kPolishText);
    EXPECT_EQ(other->mimeHtmlBodyContent(), kRussianHTML);
}

}  // namespace
}  // namespace qb
