// SPDX-License-Identifier: Apache-2.0
// The info record shared by `info --json` and the Python module, and its use from many
// threads at once (the library starts no threads, but callers do).
#include "api/MessageInfo.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "support/MsgWriter.h"
#include "support/SampleMessages.h"

namespace qb {
namespace {

Dictionary recordOf(const std::string& name, const std::string& data) {
    auto opened = openMessage(Bytes::fromString(data));
    if (!opened) return errorRecord(name, opened.error());
    return infoRecord(name, opened->format, *opened->message);
}

TEST(MessageInfo, RecordHoldsTheMessageItsBodiesAndAttachments) {
    const Dictionary r = recordOf("w.dat", test::sampleWinmail());
    EXPECT_EQ(r["file"], "w.dat");
    EXPECT_EQ(r["format"], "tnef");
    EXPECT_FALSE(r.contains("partial"));
    const Dictionary& m = r["message"];
    EXPECT_EQ(m["subject"], "Grüße aus Köln: the Q1 numbers");
    EXPECT_EQ(m["encoding"], "windows-1252");
    // Sizes are those of the bodies themselves: UTF-8 text, decompressed RTF.
    auto opened = openMessage(Bytes::fromString(test::sampleWinmail()));
    const MessageBodies bodies = messageBodies(*opened->message);
    ASSERT_TRUE(bodies.plain && bodies.rtf);
    EXPECT_FALSE(bodies.html);
    EXPECT_EQ(m["bodies"]["plain"], bodies.plain->size());
    EXPECT_EQ(m["bodies"]["rtf"], bodies.rtf->size());
    EXPECT_TRUE(m["bodies"]["html"].is_null());
    EXPECT_EQ(bodies.rtf->view().substr(0, 5), "{\\rtf");
    ASSERT_EQ(m["attachments"].size(), 3u);
    EXPECT_EQ(m["attachments"][0]["filename"], "notes.txt");
    EXPECT_EQ(m["attachments"][0]["size"], 26);
    EXPECT_EQ(m["attachments"][0]["sha256"].get<std::string>().size(), 64u);
    EXPECT_TRUE(m["attachments"][2]["message"].is_object());
    // One line, keys in schema order.
    const std::string line = infoLine(r);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(
        line.rfind("{\"file\":\"w.dat\",\"format\":\"tnef\",\"message\":{\"messageClass\"", 0), 0u);
}

TEST(MessageInfo, PartialReadsAndErrorsAreRecordedWithTheirPlaces) {
    test::LogCapture quiet;
    const std::string whole = test::sampleWinmail();
    const Dictionary cut = recordOf("cut.dat", whole.substr(0, whole.size() / 2));
    ASSERT_EQ(cut["partial"], true);
    ASSERT_EQ(cut["warnings"].size(), 1u);
    EXPECT_TRUE(cut["warnings"][0]["offset"].is_number());
    std::vector<std::string> keys;
    for (const auto& item : cut.items())
        keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"file", "format", "message", "partial", "warnings"}));

    const Dictionary empty = recordOf("e.dat", "");
    EXPECT_EQ(empty["error"]["domain"], "TNEFErrorDomain");
    EXPECT_EQ(empty["error"]["code"], 3);
    EXPECT_EQ(empty["error"]["message"],
              "The file \"e.dat\" could not be opened because it is empty.");
    EXPECT_FALSE(empty["error"].contains("offset"));

    const Dictionary placed = errorRecord("x", ReadError{"D", 7, "bad %@", 12});
    EXPECT_EQ(infoLine(placed),
              R"({"file":"x","error":{"domain":"D","code":7,"description":"bad %@",)"
              R"("message":"bad x","offset":12}})");
    // Invalid UTF-8 in a value cannot break the line.
    EXPECT_EQ(infoLine(Dictionary{{"file", "\xff"}}), "{\"file\":\"\xEF\xBF\xBD\"}");
}

// Inputs for the thread test: the corpus when it is there, else generated messages.
std::vector<std::string> threadInputs() {
    std::vector<std::string> inputs{test::sampleWinmail(), test::largeMsg(3, 3000)};
    const std::string whole = test::sampleWinmail();
    inputs.push_back(whole.substr(0, whole.size() / 2));
    const auto corpus = test::corpusDir();
    for (const char* sub : {"tnef", "msg"}) {
        if (!std::filesystem::is_directory(corpus / sub)) continue;
        for (const auto& entry : std::filesystem::directory_iterator(corpus / sub)) {
            auto data = readInput(entry.path().string());
            if (data) inputs.emplace_back(data->view());
        }
    }
    return inputs;
}

TEST(MessageInfo, ThreadsReadingAtOnceGetWhatOneThreadGets) {
    test::LogCapture quiet;
    const auto inputs = threadInputs();
    std::vector<std::string> expected;
    for (const auto& data : inputs)
        expected.push_back(infoLine(recordOf("f", data)));
    constexpr int kThreads = 8;
    std::vector<std::vector<std::string>> got(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            // Each thread starts at a different input, so that the same files are read at
            // different moments by different threads.
            for (size_t i = 0; i < inputs.size(); ++i) {
                const size_t k = (i + size_t(t) * 7) % inputs.size();
                got[size_t(t)].push_back(std::to_string(k) + infoLine(recordOf("f", inputs[k])));
            }
        });
    for (auto& t : threads)
        t.join();
    for (const auto& lines : got)
        for (const auto& line : lines) {
            const size_t k = std::stoul(line);
            EXPECT_EQ(line.substr(std::to_string(k).size()), expected[k]);
        }
}

}  // namespace
}  // namespace qb
