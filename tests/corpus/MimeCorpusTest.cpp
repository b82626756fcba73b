// SPDX-License-Identifier: Apache-2.0
// The MIME part model over real messages: the corpus's own .eml files and the .eml quillbox
// writes for every corpus message. Python's email package decodes the same leaves, and
// headless Chromium loads the page `quillbox mime` makes of each.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>

#include "mime/MediaMimeParts.h"
#include "mime/MimePart.h"
#include "platform/Digest.h"
#include "support/Corpus.h"
#include "support/EmlReport.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

struct Leaf {
    std::string type;
    std::optional<std::string> sha256;
};

std::string normalised(std::string bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i)
        if (!(bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')) out += bytes[i];
    while (!out.empty() && std::string_view(" \t\r\n").find(out.back()) != std::string_view::npos)
        out.pop_back();
    return out;
}

void collectLeaves(const MimePart& part, std::vector<Leaf>& out) {
    const std::string type = part.type() ? part.MIMEtype() : "text/plain";
    if (part.type() == "message") {
        out.push_back({type, std::nullopt});
        return;
    }
    // A multipart that could not be split (no boundary) is a leaf, as for Python.
    if (part.type() == "multipart" && !part.subParts().empty()) {
        for (const auto& child : part.subParts())
            collectLeaves(*child, out);
        return;
    }
    const auto bytes = part.decodedContent();
    out.push_back({type, sha256Hex(Bytes::adoptString(normalised(bytes ? bytes->str() : "")))});
}

void collectImages(const MimePart& part, size_t& images, size_t& withId) {
    for (const auto& child : part.subParts())
        collectImages(*child, images, withId);
    if (part.type() == "image" && isBase64Part(part)) {
        ++images;
        // An empty Content-ID names no resource the page could point at.
        if (part.contentId() && part.contentId()->find_first_not_of("<> ") != std::string::npos)
            ++withId;
    }
}

bool alternativeOffersAFile(const MimePart& part) {
    for (const auto& child : part.subParts()) {
        if (part.subtype() == "alternative" && child->type() == "application") return true;
        if (alternativeOffersAFile(*child)) return true;
    }
    return false;
}

// Every .eml to check: the corpus's own, then ours for each corpus message.
class MimeCorpus : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        const fs::path corpus = test::corpusDir();
        if (!fs::is_directory(corpus / "msg")) return;
        dir_ = fs::temp_directory_path() / ("quillbox-mime-corpus-" + std::to_string(::getpid()));
        fs::create_directories(dir_);
        std::vector<fs::path> sources;
        for (const auto& sub : {"msg", "tnef"})
            for (const auto& e : fs::directory_iterator(corpus / sub))
                sources.push_back(e.path());
        std::sort(sources.begin(), sources.end());
        for (const auto& p : sources)
            if (p.extension() == ".eml") emls_.push_back(p);
        for (const auto& p : sources) {
            if (p.extension() == ".eml") continue;
            const fs::path out = dir_ / ("ours-" + p.filename().string() + ".eml");
            const std::string cmd = std::string(QB_QUILLBOX_PATH) + " eml '" + p.string() +
                                    "' -o '" + out.string() + "' 2>/dev/null";
            (void)std::system(cmd.c_str());
            if (fs::exists(out)) emls_.push_back(out);
        }
    }
    static void TearDownTestSuite() {
        if (!dir_.empty()) fs::remove_all(dir_);
    }
    void SetUp() override {
        if (emls_.empty()) GTEST_SKIP() << "no corpus at " << test::corpusDir();
    }

    static inline fs::path dir_;
    static inline std::vector<fs::path> emls_;
};

TEST_F(MimeCorpus, LeavesDecodeAsPythonDecodesThem) {
    std::vector<std::string> messages;
    for (const auto& p : emls_)
        messages.push_back(test::slurp(p));
    auto report = test::pythonEmlReport(messages);
    if (!report) GTEST_SKIP() << "python3 with its email package is not available";
    size_t leaves = 0;
    for (size_t i = 0; i < emls_.size(); ++i) {
        SCOPED_TRACE(emls_[i].filename().string());
        auto root = MimePart::mimePartForData(Bytes::fromString(messages[i]));
        std::vector<Leaf> ours;
        collectLeaves(*root, ours);
        const auto& theirs = (*report)[i].at("leaves");
        EXPECT_EQ(ours.size(), theirs.size());
        if (ours.size() != theirs.size()) continue;
        for (size_t k = 0; k < ours.size(); ++k) {
            SCOPED_TRACE("leaf " + std::to_string(k) + " " + ours[k].type);
            EXPECT_EQ(ours[k].type, theirs[k].at("contentType").get<std::string>());
            if (theirs[k].at("sha256").is_null())
                EXPECT_EQ(ours[k].sha256, std::nullopt);
            else
                EXPECT_EQ(ours[k].sha256, theirs[k].at("sha256").get<std::string>());
        }
        leaves += ours.size();
    }
    EXPECT_GT(emls_.size(), 30u);
    EXPECT_GT(leaves, 100u);
}

// Words of plain ASCII letters and digits, four characters or more.
std::vector<std::string> asciiWords(std::string_view text, size_t most) {
    std::vector<std::string> out;
    std::string word;
    auto flush = [&] {
        if (word.size() >= 4 && out.size() < most) out.push_back(word);
        word.clear();
    };
    for (unsigned char c : text) {
        if (std::isalnum(c))
            word += static_cast<char>(c);
        else
            flush();
    }
    flush();
    return out;
}

size_t count(std::string_view text, std::string_view what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

TEST_F(MimeCorpus, PagesShowTheTextAndEveryPictureInChromium) {
    if (!fs::exists("/usr/bin/chromium")) GTEST_SKIP() << "no /usr/bin/chromium";
    std::vector<std::string> messages;
    for (const auto& p : emls_)
        messages.push_back(test::slurp(p));
    auto report = test::pythonEmlReport(messages);
    if (!report) GTEST_SKIP() << "python3 with its email package is not available";
    size_t pages = 0;
    for (size_t i = 0; i < emls_.size(); ++i) {
        SCOPED_TRACE(emls_[i].filename().string());
        auto root = MimePart::mimePartForData(Bytes::fromString(messages[i]));
        if (!root->webArchiveData())
            continue;  // nothing to show: checked below for the corpus's own
        const fs::path page = dir_ / (std::to_string(i) + ".html");
        const fs::path dom = dir_ / (std::to_string(i) + ".dom");
        const std::string mime = std::string(QB_QUILLBOX_PATH) + " mime '" + emls_[i].string() +
                                 "' -o '" + page.string() + "'";
        ASSERT_EQ(std::system(mime.c_str()), 0);
        const std::string chromium =
            "/usr/bin/chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
            "--disable-background-networking --disable-component-update --disable-sync "
            "--user-data-dir='" +
            (dir_ / "profile").string() + "' --dump-dom 'file://" + page.string() + "' >'" +
            dom.string() + "' 2>/dev/null";
        ASSERT_EQ(std::system(chromium.c_str()), 0);
        const std::string shown = test::slurp(dom);
        ASSERT_NE(shown.find("<div class=\"box\">"), std::string::npos);

        // An alternative that offers a file beside its text shows the file's icon in place of
        // the text (the HTML form wins); its words are not looked for.
        const auto& text = (*report)[i].at("shownText");
        if (text.is_string() && !alternativeOffersAFile(*root)) {
            for (const auto& w : asciiWords(text.get<std::string>(), 12))
                EXPECT_NE(shown.find(w), std::string::npos) << "missing word " << w;
        }
        size_t images = 0, withId = 0;
        collectImages(*root, images, withId);
        EXPECT_GE(count(shown, "<img"), images);
        EXPECT_GE(count(shown, "src=\"data:image/"), withId);
        ++pages;
    }
    for (size_t i = 0; i < emls_.size(); ++i) {
        if (emls_[i].parent_path() != dir_) {
            EXPECT_TRUE(fs::exists(dir_ / (std::to_string(i) + ".html"))) << emls_[i];
        }
    }
    EXPECT_GT(pages, 30u);
}

}  // namespace
}  // namespace qb
