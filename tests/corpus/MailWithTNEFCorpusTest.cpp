// SPDX-License-Identifier: Apache-2.0
// Every corpus TNEF stream wrapped in a mail the way mail servers send it: `quillbox info`
// takes the mail's headers when the correlator (or the Message-ID) matches the stream's, and
// the stream's own fields otherwise, with the same attachments and bodies either way.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "mailkit/Base64.h"
#include "platform/Dictionary.h"
#include "support/Corpus.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::corpusDir;

// The message of `quillbox info --json FILE`, without the file's name.
Dictionary infoOf(const fs::path& file) {
    const std::string cmd =
        std::string(QB_QUILLBOX_PATH) + " info --json '" + file.string() + "' 2>/dev/null";
    std::string out;
    if (FILE* pipe = ::popen(cmd.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0)
            out.append(buf, n);
        ::pclose(pipe);
    }
    Dictionary line = Dictionary::parse(out, nullptr, false);
    if (line.is_object()) line.erase("file");
    return line;
}

// A mail around the stream: folded To, encoded Subject, the stream as Base64 lines of 76.
std::string mailAround(const std::string& tnef, const std::string& correlatorLine) {
    const std::string flat = base64EncodedString(tnef);
    std::string body;
    for (size_t i = 0; i < flat.size(); i += 76)
        body += flat.substr(i, 76) + "\r\n";
    return "From: Outer Sender <outer@example.org>\r\n"
           "To: \"Ann Example\" <ann@example.com>,\r\n"
           "\t=?ISO-8859-1?Q?J=F6rg?= <joerg@example.net>\r\n"
           "Subject: =?UTF-8?B?R3LDvMOfZSBhdXMgS8O2bG4=?=\r\n"
           "Date: Tue, 3 Mar 2020 10:20:30 +0100\r\n" +
           correlatorLine +
           "MIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"=_outer\"\r\n\r\n"
           "--=_outer\r\n"
           "Content-Type: application/ms-tnef; name=\"winmail.dat\"\r\n"
           "Content-Transfer-Encoding: base64\r\n"
           "Content-Disposition: attachment; filename=\"winmail.dat\"\r\n\r\n" +
           body + "--=_outer--\r\n";
}

// The line with the header-derived fields taken out: what must not change either way.
Dictionary withoutHeaderFields(Dictionary line) {
    for (const char* key : {"sender", "to", "cc", "bcc", "subject", "date"})
        line["message"].erase(key);
    return line;
}

void expectOuterHeaders(const Dictionary& message, const std::string& name) {
    EXPECT_EQ(message["sender"]["address"], "outer@example.org") << name;
    ASSERT_EQ(message["to"].size(), 2u) << name;
    EXPECT_EQ(message["to"][0]["name"], "Ann Example") << name;
    EXPECT_EQ(message["to"][1]["name"], "Jörg") << name;
    EXPECT_EQ(message["to"][1]["address"], "joerg@example.net") << name;
    EXPECT_TRUE(message["cc"].empty()) << name;
    EXPECT_EQ(message["subject"], "Grüße aus Köln") << name;
    EXPECT_EQ(message["date"], "2020-03-03T09:20:30Z") << name;
}

TEST(MailWithTNEFCorpus, OuterHeadersStandInOnlyForTheMatchingStream) {
    if (!fs::is_directory(corpusDir() / "tnef")) GTEST_SKIP() << "no corpus";
    const fs::path dir = test::makeTestFolder("mail-with-tnef");
    int files = 0, matched = 0;
    for (const auto& entry : fs::directory_iterator(corpusDir() / "tnef")) {
        const std::string name = entry.path().filename().string();
        const Dictionary plain = infoOf(entry.path());
        if (!plain.contains("message")) continue;  // a stream that does not open on its own
        ++files;
        const std::string tnef = test::slurp(entry.path());
        const auto& key = plain["message"]["tnefCorrelator"];
        const std::string correlator = key.is_string() ? key.get<std::string>() : "";
        const bool usable =
            !correlator.empty() && correlator.find_first_of("\r\n") == std::string::npos;

        auto infoOfMail = [&](const std::string& headerLine) {
            const fs::path eml = dir / (name + ".eml");
            std::ofstream(eml, std::ios::binary) << mailAround(tnef, headerLine);
            return infoOf(eml);
        };
        const Dictionary matching = infoOfMail("X-MS-TNEF-Correlator: " + correlator + "\r\n");
        const Dictionary byMessageId = infoOfMail("Message-ID: " + correlator + "\r\n");
        const Dictionary other = infoOfMail("X-MS-TNEF-Correlator: <no-such@example.org>\r\n");

        EXPECT_EQ(other, plain) << name;
        if (!usable) {
            EXPECT_EQ(matching, plain) << name;
            continue;
        }
        ++matched;
        for (const Dictionary* mail : {&matching, &byMessageId}) {
            ASSERT_TRUE(mail->contains("message")) << name;
            EXPECT_EQ(withoutHeaderFields(*mail), withoutHeaderFields(plain)) << name;
            expectOuterHeaders((*mail)["message"], name);
        }
    }
    fs::remove_all(dir);
    EXPECT_GT(files, 10);
    EXPECT_GT(matched, 0);
}

TEST(MailWithTNEFCorpus, MailWithoutTNEFIsAClearError) {
    const fs::path dir = test::makeTestFolder("mail-without-tnef");
    const fs::path eml = dir / "note.eml";
    std::ofstream(eml, std::ios::binary)
        << "From: a@example.org\r\nSubject: hi\r\nMIME-Version: 1.0\r\n"
           "Content-Type: text/plain\r\n\r\nJust text.\r\n";
    const Dictionary line = infoOf(eml);
    ASSERT_TRUE(line.contains("error"));
    const std::string message = line["error"]["message"];
    EXPECT_NE(message.find("without a TNEF part"), std::string::npos) << message;
    EXPECT_NE(message.find("quillbox mime"), std::string::npos) << message;
    fs::remove_all(dir);
}

}  // namespace
}  // namespace qb
