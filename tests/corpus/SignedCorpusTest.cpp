// SPDX-License-Identifier: Apache-2.0
// The signed .msg files of the shared corpus: the text of the multipart/signed entity each
// carries is the body that extract writes, and the entity stays the attachment the peer tools
// report. Skipped when the corpus is not beside the checkout.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/OpenMessage.h"
#include "api/SignedContent.h"
#include "platform/Dictionary.h"
#include "platform/Digest.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "support/TestFolder.h"
#include "tnef/TNEFAttachment.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// The message's text with CR LF line ends made LF, so Outlook's body and the entity compare.
std::string lf(std::string text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
        if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) out += text[i];
    return out;
}

TEST(SignedCorpus, ExtractedBodyIsTheSignedEntitysText) {
    const fs::path dir = test::corpusDir() / "msg";
    if (!fs::is_directory(dir)) GTEST_SKIP() << "no corpus at " << dir.string();
    const fs::path out = test::makeTestFolder("qb-signed-corpus");
    // The first line of each signed text, as the entity holds it.
    const std::pair<const char*, const char*> files[] = {
        {"logsat.com_signatures_valid.msg", "This is a valid digitally signed email."},
        {"msgconvert-gpg_signed.msg", "This is yet another test.\n-- \nMatijs van Zuijlen"},
    };
    for (const auto& [file, expected] : files) {
        SCOPED_TRACE(file);
        test::LogCapture log;
        auto opened = openMessageFile((dir / file).string());
        ASSERT_TRUE(opened);
        const auto& m = opened->message;
        EXPECT_EQ(m->messageClass(), "IPM.Note.SMIME.MultipartSigned");

        // The signed entity's text, read from the attachment, is the message's MIME body.
        ASSERT_EQ(m->attachments().size(), 1u);
        const auto attachment = m->attachments()[0];
        EXPECT_EQ(signedContentAttachment(*m), attachment);
        const auto bodies = bodiesOfMimeEntity(*attachment->rawData());
        ASSERT_TRUE(bodies && bodies->plain);
        EXPECT_THAT(lf(*bodies->plain), HasSubstr(expected));
        EXPECT_EQ(m->mimeBodyContent(), bodies->plain);

        // Outlook wrote the same text as the message's own body, which stays the text the
        // exports show; the entity's text is in what extract writes either way.
        auto exported = exportToFolder(m, out.string(), fs::path(file).stem().string());
        ASSERT_TRUE(exported);
        const std::string text = test::slurp(exported->folder + "/Message.txt");
        EXPECT_THAT(lf(text), HasSubstr(lf(*bodies->plain)));
        EXPECT_THAT(test::slurp(exported->folder + "/View.html"),
                    HasSubstr(std::string(expected).substr(0, 20)));
        EXPECT_THAT(rfc822Data(m).str(), HasSubstr(std::string(expected).substr(0, 20)));

        // The entity is written as it is: the peers' digest of the attachment.
        std::ifstream in(test::corpusDir() / "golden" / "msg" / (std::string(file) + ".json"));
        const Dictionary golden = Dictionary::parse(in);
        const auto& peer = golden["msgreader"]["attachments"][0];
        EXPECT_EQ(sha256Hex(*attachment->rawData()), peer["sha256"].get<std::string>());
        bool written = false;
        for (const auto& f : exported->files)
            if (f.exporter == "AttachmentExporter") {
                written = true;
                EXPECT_EQ(sha256Hex(Bytes::fromString(test::slurp(f.path))),
                          peer["sha256"].get<std::string>());
            }
        EXPECT_TRUE(written);
        EXPECT_TRUE(log.lines.empty());
    }
    fs::remove_all(out);
}

}  // namespace
}  // namespace qb
