// SPDX-License-Identifier: Apache-2.0
// The RTF bodies of the shared corpus made readable: each gives a page whose words are the
// words Outlook wrote into the plain body (or whose text starts as Outlook's own record of
// the body says), and RTF made from HTML gives back the sender's HTML.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

#include "OXMSG/OXMessage.h"
#include "exporters/RTFExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/FileData.h"
#include "platform/StringEncoding.h"
#include "richtext/RTFEncapsulation.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "support/TextSimilarity.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kSyncBodyTag = 0x1008001E;

struct RTFMessage {
    std::string name;
    std::shared_ptr<OutlookMessage> message;
    Bytes rtf;
};

std::vector<RTFMessage> rtfMessages() {
    std::vector<RTFMessage> out;
    for (const char* kind : {"tnef", "msg"}) {
        for (const auto& f : test::corpusMessageFiles(kind)) {
            test::LogCapture quiet;
            auto data = readFileData(f.string());
            if (!data) continue;
            std::shared_ptr<OutlookMessage> m =
                std::string(kind) == "msg"
                    ? std::shared_ptr<OutlookMessage>(OXMessage::create(*data))
                    : TNEFMessage::create(*data, nullptr, true, nullptr);
            if (!m) continue;
            if (auto rtf = rtfBodyOfMessage(*m))
                out.push_back({std::string(kind) + "/" + f.filename().string(), m, *rtf});
        }
    }
    return out;
}

// Letters and digits as Outlook records them: ASCII in upper case, the rest as they are.
std::string alphanumerics(std::string_view s) {
    std::string out;
    for (unsigned char c : s)
        if (std::isalnum(c) || c >= 0x80) out += static_cast<char>(std::toupper(c));
    return out;
}

// The plain body without what Outlook adds when it writes HTML as text: link targets
// ("word<https://…>") and image placeholders ("[https://…]", "[cid:…]").
std::string withoutLinkTargets(std::string text) {
    for (const char* open : {"<http", "<mailto:", "[http", "[cid:"}) {
        const char close = open[0] == '<' ? '>' : ']';
        for (size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
            const size_t end = text.find(close, at);
            text.replace(at, end == std::string::npos ? std::string::npos : end + 1 - at, " ");
        }
    }
    return text;
}

TEST(RTFCorpus, EveryRTFBodyGivesAPageWithTheMessagesWords) {
    if (!fs::is_directory(test::corpusDir())) GTEST_SKIP() << "no corpus";
    const auto messages = rtfMessages();
    ASSERT_GE(messages.size(), 40u);
    std::vector<double> ratios;
    for (const auto& m : messages) {
        SCOPED_TRACE(m.name);
        test::LogCapture quiet;
        auto exporter = RTFExporter::create(m.message);
        ASSERT_TRUE(exporter);
        ASSERT_EQ(exporter->mimeType(), "text/html");
        EXPECT_EQ(exporter->filename(), "Message.html");
        // The message's own exporter shows this body instead of any HTML body.
        auto messageExporter = TNEFMessageExporter::create(m.message, nullptr, ExportMode::Files);
        const auto& texts = messageExporter->textExporters();
        EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [&](const auto& e) {
            return e->mimeType() == "text/html" && e->filename() == "Message.html";
        }));
        EXPECT_LE(texts.size(), 2u);

        const std::string text = test::textOfHTML(exporter->data()->view());
        auto plain = stringForProperty(m.message->mapiprops(), PR_BODY);
        if (plain && !test::wordsOf(*plain).empty()) {
            const auto ours = test::wordsOf(text);
            const auto theirs = test::wordsOf(withoutLinkTargets(*plain));
            ratios.push_back(test::similarity(ours, theirs));
            EXPECT_GE(ratios.back(), 0.9) << test::firstDifference(ours, theirs);
            continue;
        }
        auto tag = stringForProperty(m.message->mapiprops(), kSyncBodyTag);
        if (!tag || tag->empty()) continue;
        EXPECT_TRUE(alphanumerics(text).starts_with(alphanumerics(*tag)))
            << alphanumerics(*tag) << " / " << alphanumerics(text).substr(0, 80);
    }
    ASSERT_FALSE(ratios.empty());
    std::sort(ratios.begin(), ratios.end());
    EXPECT_GE(ratios[ratios.size() / 2], 0.97);
    std::printf("%zu bodies compared with their plain text: lowest %.3f, median %.3f\n",
                ratios.size(), ratios.front(), ratios[ratios.size() / 2]);
}

TEST(RTFCorpus, HTMLMadeIntoRTFComesBackAsTheSendersHTML) {
    if (!fs::is_directory(test::corpusDir())) GTEST_SKIP() << "no corpus";
    size_t compared = 0;
    for (const auto& m : rtfMessages()) {
        if (encapsulationOfRTF(m.rtf.view()) != RTFEncapsulation::HTML) continue;
        auto html = bytesForProperty(m.message->mapiprops(), PR_BODY_HTML);
        if (!html || html->empty()) continue;
        SCOPED_TRACE(m.name);
        auto recovered = decapsulateRTF(m.rtf.view());
        ASSERT_TRUE(recovered);
        const auto ours = test::wordsOf(test::textOfHTML(*recovered));
        // The stored body read as a browser would, in the charset it declares.
        const auto theirs = test::wordsOf(test::textOfHTML(html->view(), nullptr));
        EXPECT_GE(test::similarity(ours, theirs), 0.98) << test::firstDifference(ours, theirs);
        ++compared;
    }
    EXPECT_GE(compared, 5u);
    std::printf("%zu recovered HTML bodies compared with the stored HTML body\n", compared);
}

}  // namespace
}  // namespace qb
