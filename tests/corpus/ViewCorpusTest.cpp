// SPDX-License-Identifier: Apache-2.0
// The view of every corpus message: a page libxml2 reads back, with the header rows, one
// link per attachment and no picture left pointing at an attachment by "cid:".
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "OXMSG/OXMessage.h"
#include "api/MessageView.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/HtmlQuery.h"
#include "support/LogCapture.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::HtmlQuery;

std::vector<std::pair<fs::path, std::shared_ptr<OutlookMessage>>> corpusMessages() {
    std::vector<std::pair<fs::path, std::shared_ptr<OutlookMessage>>> out;
    for (const char* kind : {"tnef", "msg"}) {
        for (const auto& f : test::corpusMessageFiles(kind)) {
            test::LogCapture quiet;
            auto data = readFileData(f.string());
            if (!data) continue;
            auto m = std::string(kind) == "msg"
                         ? std::shared_ptr<OutlookMessage>(OXMessage::create(*data))
                         : std::shared_ptr<OutlookMessage>(
                               TNEFMessage::create(*data, nullptr, true, nullptr));
            if (m) out.emplace_back(f, m);
        }
    }
    return out;
}

TEST(ViewCorpus, EveryMessageGivesAPageThatReadsBack) {
    if (!fs::is_directory(test::corpusDir())) GTEST_SKIP() << "no corpus";
    const auto messages = corpusMessages();
    ASSERT_GE(messages.size(), 60u);
    size_t withPictures = 0, withLinks = 0;
    for (const auto& [path, message] : messages) {
        SCOPED_TRACE(path.filename().string());
        test::LogCapture quiet;
        auto exporter = TNEFMessageExporter::create(message, nullptr, ExportMode::Files);
        auto page = messageViewHTML(exporter, {});
        ASSERT_TRUE(page);
        const HtmlQuery view(*page);
        ASSERT_TRUE(view.ok());
        ASSERT_TRUE(view.byId("qbx-ql-headers"));
        ASSERT_TRUE(view.byId("qbx-ql-inner-mail"));

        // The subject row shows the subject as the message holds it, whatever its script.
        std::string subjectRow;
        for (xmlNode* key : view.elements("td", "header_key"))
            if (HtmlQuery::text(key) == "Subject:") subjectRow = HtmlQuery::text(key->next);
        const auto subject = message->subject();
        EXPECT_EQ(subjectRow, subject ? displayableText(*subject) : "");

        const auto& attachments = exporter->attachmentExporters();
        const auto links = view.elements("a", "qbx-attachment");
        ASSERT_EQ(links.size(), attachments.size());
        for (size_t i = 0; i < links.size(); ++i)
            EXPECT_EQ(HtmlQuery::text(links[i]),
                      displayableText(attachments[i]->filename().value_or("")));
        withLinks += !links.empty();

        // A picture the message carries is inlined; only references to nothing stay.
        std::set<std::string> carried;
        for (const auto& e : attachments)
            if (const auto* file = dynamic_cast<const AttachmentExporter*>(e.get());
                file && file->attachment() && file->attachment()->contentId())
                carried.insert(normalizedContentID(*file->attachment()->contentId()));
        for (xmlNode* img : view.elements("img")) {
            const std::string src = HtmlQuery::attribute(img, "src");
            withPictures += src.starts_with("data:image/");
            if (auto id = contentIDOfURL(src)) {
                EXPECT_FALSE(carried.contains(*id)) << src;
            }
        }
    }
    EXPECT_GE(withLinks, 20u);
    EXPECT_GE(withPictures, 1u);
}

}  // namespace
}  // namespace qb
