// Reads every .msg file of the shared corpus and compares with what peer tools report.
// Skipped when the corpus is not beside the checkout.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "OXMSG/OXMessage.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/Dictionary.h"
#include "platform/Digest.h"
#include "platform/FileData.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

fs::path msgDir() {
    return fs::path(QB_SOURCE_DIR) / ".." / "shared" / "corpus" / "msg";
}

#define REQUIRE_MSG_CORPUS() \
    if (!fs::is_directory(msgDir())) GTEST_SKIP() << "no corpus at " << msgDir().string()

// Both peers fail on this one too: its root property stream has a damaged header.
const char* const kUnreadable[] = {"unknown_properties.msg"};

std::vector<std::string> msgFiles() {
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(msgDir()))
        if (e.path().extension() == ".msg") files.push_back(e.path().filename().string());
    std::sort(files.begin(), files.end());
    return files;
}

std::shared_ptr<OXMessage> open(const std::string& file) {
    test::LogCapture quiet;
    auto data = readFileData((msgDir() / file).string());
    return data ? OXMessage::create(*data) : nullptr;
}

Dictionary golden(const std::string& file) {
    std::ifstream in(msgDir().parent_path() / "golden" / "msg" / (file + ".json"));
    return Dictionary::parse(in);
}

std::string fromHex(const std::string& hex) {
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return out;
}

TEST(MsgCorpus, EveryFileIsReadButTheDamagedOne) {
    REQUIRE_MSG_CORPUS();
    size_t read = 0;
    for (const auto& file : msgFiles()) {
        const bool unreadable = std::find(std::begin(kUnreadable), std::end(kUnreadable), file) !=
                                std::end(kUnreadable);
        EXPECT_EQ(open(file) == nullptr, unreadable) << file;
        read += !unreadable;
    }
    EXPECT_EQ(read, msgFiles().size() - std::size(kUnreadable));
}

TEST(MsgCorpus, ClassRTFAndAttachmentsMatchThePeer) {
    REQUIRE_MSG_CORPUS();
    for (const auto& file : msgFiles()) {
        const Dictionary g = golden(file);
        const Dictionary& mr = g["msgreader"];
        if (!mr.value("ok", false)) continue;
        auto m = open(file);
        ASSERT_TRUE(m) << file;
        SCOPED_TRACE(file);
        if (mr["messageClass"].is_string()) {
            EXPECT_EQ(m->messageClass(), mr["messageClass"].get<std::string>());
        }

        auto rtf = bytesForProperty(m->mapiprops(), PR_RTF_COMPRESSED);
        if (mr["rtfSha256"].is_string()) {
            ASSERT_TRUE(rtf);
            EXPECT_EQ(sha256Hex(*rtf), mr["rtfSha256"].get<std::string>());
        } else {
            EXPECT_FALSE(rtf);
        }

        const auto& theirs = mr["attachments"];
        ASSERT_EQ(m->attachments().size(), theirs.size());
        for (size_t i = 0; i < theirs.size(); ++i) {
            const auto& a = *m->attachments()[i];
            const auto& t = theirs[i];
            if (t.contains("error")) continue;  // the peer could not read this one
            if (t.value("embedded", false)) {
                // The peer rebuilds a .msg of its own here; compare the message inside.
                ASSERT_TRUE(a.nestedMessage());
                EXPECT_EQ(a.nestedMessage()->subject().value_or(""),
                          t["embeddedSubject"].get<std::string>());
                continue;
            }
            if (t["fileName"].is_string()) {
                EXPECT_EQ(a.filename(), t["fileName"].get<std::string>());
            }
            auto data = a.rawData();
            ASSERT_TRUE(data) << i;
            EXPECT_EQ(sha256Hex(*data), t["sha256"].get<std::string>()) << i;
        }
    }
}

TEST(MsgCorpus, SenderAndRecipientNamesMatchThePeer) {
    REQUIRE_MSG_CORPUS();
    // Where the transport headers name a recipient differently, they win over the recipient
    // table (and an address without a name is named by its address).
    const std::map<std::string, std::string> kHeadersWin = {
        {"bug66335.msg", "to: swagner@faw.at"},
        {"cyrillic_message.msg", "to: sviridov@niips.ru; cc: sviridov@niips.ru"},
        {"msgconvert-charset.msg", "to: Joseph Q Bloggs"},
        // Damaged on purpose: its recipient storage has no name the peer could read.
        {"clusterfuzz-testcase-minimized-POIHSMFFuzzer-4735011465854976.msg", "to: "},
    };
    auto render = [](const std::map<std::string, std::vector<std::string>>& byType) {
        std::string out;
        for (const char* type : {"to", "cc", "bcc"}) {
            auto it = byType.find(type);
            if (it == byType.end() || it->second.empty()) continue;
            std::vector<std::string> names = it->second;
            std::sort(names.begin(), names.end());
            if (!out.empty()) out += "; ";
            out += std::string(type) + ": ";
            for (size_t i = 0; i < names.size(); ++i)
                out += (i ? ", " : "") + names[i];
        }
        return out;
    };
    for (const auto& file : msgFiles()) {
        const Dictionary g = golden(file);
        const Dictionary& mr = g["msgreader"];
        if (!mr.value("ok", false)) continue;
        auto m = open(file);
        SCOPED_TRACE(file);
        std::map<std::string, std::vector<std::string>> ours, theirs;
        for (auto [type, list] :
             {std::pair{"to", &m->toRecipients()}, std::pair{"cc", &m->ccRecipients()},
              std::pair{"bcc", &m->bccRecipients()}})
            for (const auto& a : *list)
                ours[type].push_back(a->displayName().value_or(""));
        for (const auto& r : mr["recipients"])
            theirs[r["recipType"].is_string() ? r["recipType"].get<std::string>() : "none"]
                .push_back(r["name"].is_string() ? r["name"].get<std::string>() : "");
        if (auto it = kHeadersWin.find(file); it != kHeadersWin.end())
            EXPECT_EQ(render(ours), it->second);
        else
            EXPECT_EQ(render(ours), render(theirs));
        const std::string senderName = m->sender() ? m->sender()->displayName().value_or("") : "";
        EXPECT_EQ(senderName,
                  mr["senderName"].is_string() ? mr["senderName"].get<std::string>() : "");
    }
}

TEST(MsgCorpus, SubjectsDecodeByTheMessageCodePage) {
    REQUIRE_MSG_CORPUS();
    for (const auto& file : msgFiles()) {
        const Dictionary g = golden(file);
        const Dictionary& mr = g["msgreader"];
        const Dictionary& mc = g["msgconvert"];
        if (!mr.value("ok", false) || !mr["subject"].is_string()) continue;
        auto m = open(file);
        SCOPED_TRACE(file);
        if (mc.value("ok", false) && mc.contains("rawNonUtf8HeaderHex") &&
            mc["rawNonUtf8HeaderHex"].contains("subject")) {
            // Both peers read these ANSI subjects as Windows-1252 whatever the message says;
            // we read the same bytes in the message's own code page.
            const std::string raw =
                fromHex(mc["rawNonUtf8HeaderHex"]["subject"].get<std::string>());
            EXPECT_EQ(m->subject(),
                      decodeMessageText({reinterpret_cast<const uint8_t*>(raw.data()), raw.size()},
                                        m->encoding()));
        } else if (file == "cyrillic_message.msg") {
            // The peers disagree; the message is Windows-1251, as one of them reads it.
            EXPECT_EQ(m->subject(), mc["subject"].get<std::string>());
        } else {
            EXPECT_EQ(m->subject().value_or(""), mr["subject"].get<std::string>());
        }
    }
    EXPECT_EQ(open("ASCII_CP1251_LCID1049.msg")->subject(), "Subject автоматически Subject");
}

}  // namespace
}  // namespace qb
