// SPDX-License-Identifier: Apache-2.0
// MIME data built to make the part model do huge work: deep nesting, a boundary that never
// closes, a giant header line, Base64 full of garbage, a flood of parts. Each is read in
// process with its tree checked, and shown by `quillbox mime` under the memory and CPU
// limits of the other hostile runs.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "hostile/RunLimited.h"
#include "mime/MimePart.h"
#include "support/LogCapture.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

size_t depthOf(const MimePart& part) {
    size_t deepest = 0;
    for (const auto& child : part.subParts())
        deepest = std::max(deepest, depthOf(*child));
    return deepest + 1;
}

std::string nested(int levels) {
    std::string head, tail;
    for (int i = 0; i < levels; ++i) {
        // "b1x" is no prefix of "b10x": each level splits at its own delimiters only.
        const std::string b = "b" + std::to_string(i) + "x";
        head += "Content-Type: multipart/mixed; boundary=\"" + b + "\"\r\n\r\n--" + b + "\r\n";
        tail = "\r\n--" + b + "--\r\n" + tail;
    }
    return head + "Content-Type: text/plain\r\n\r\ninnermost" + tail;
}

class HostileMime : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("quillbox-hostile-mime"); }
    void TearDown() override { fs::remove_all(dir_); }

    // `quillbox mime` on the bytes ends by exiting, within the limits, with `status`.
    test::LimitedRun show(const std::string& bytes, int status) {
        const fs::path in = dir_ / "in.eml";
        std::ofstream(in, std::ios::binary) << bytes;
        auto r = test::runLimited({"mime", in.string(), "-o", (dir_ / "page.html").string()}, dir_);
        EXPECT_TRUE(r.exited) << "killed by signal " << r.status << "\n" << r.err;
        EXPECT_EQ(r.status, status) << r.err;
        return r;
    }

    fs::path dir_;
};

TEST_F(HostileMime, TenThousandNestedMultipartsStopAtTheDepthLimit) {
    const std::string data = nested(10000);
    test::LogCapture log;
    const auto start = std::chrono::steady_clock::now();
    auto root = MimePart::mimePartForData(Bytes::fromString(data));
    EXPECT_EQ(depthOf(*root), size_t(kMaxMimeNesting) + 1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(log.lines,
              std::vector<std::string>{
                  "MIME parts nested deeper than 64 levels: the deeper ones are left unread"});
    // Within the limit the innermost text is reached and shown.
    auto shallow = MimePart::mimePartForData(Bytes::fromString(nested(60)));
    EXPECT_EQ(depthOf(*shallow), 61u);
    ASSERT_TRUE(shallow->webArchiveData());
    EXPECT_NE(shallow->webArchiveData()->find("innermost"), std::string::npos);

    show(data, 1);  // nothing displayable above the limit: a clean failure
}

TEST_F(HostileMime, UnclosedBoundaryGiantHeaderAndGarbageBase64) {
    // The last part runs to the end of the data.
    const std::string unclosed =
        "Content-Type: multipart/mixed; boundary=u\r\n\r\npreamble\r\n--u\r\n"
        "Content-Type: text/plain\r\n\r\n" +
        std::string(20 << 20, 'x');
    auto open = MimePart::mimePartForData(Bytes::fromString(unclosed));
    ASSERT_EQ(open->subParts().size(), 1u);
    EXPECT_EQ(open->subParts()[0]->contentData()->size(), size_t(20 << 20));
    show(unclosed, 0);

    // A header line of 100 MB, and a boundary parameter as long as the body it splits.
    std::string giant = "Subject: " + std::string(100 << 20, 's') + "\r\n" +
                        "Content-Type: multipart/mixed; boundary=" + std::string(1 << 20, 'q') +
                        "\r\n\r\n" + std::string(4 << 20, 'q') + "\r\n--" +
                        std::string(1 << 20, 'q');
    const auto start = std::chrono::steady_clock::now();
    auto big = MimePart::mimePartForData(Bytes::adoptString(std::move(giant)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(big->boundary()->size(), size_t(1 << 20));
    EXPECT_TRUE(big->subParts().empty());

    // Base64 whose characters are mostly garbage decodes what is there.
    std::string noisy;
    for (int i = 0; i < 100000; ++i)
        noisy += "QUJD\x01!~\xff\r\n";
    auto image = MimePart::mimePartForData(Bytes::fromString(
        "Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\nContent-ID: <n>\r\n\r\n" +
        noisy));
    ASSERT_EQ(image->webArchiveResources().size(), 1u);
    EXPECT_EQ(image->webArchiveResources()[0].data.size(), 300000u);
    EXPECT_EQ(image->webArchiveResources()[0].data.view().substr(0, 6), "ABCABC");
    show("Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\nContent-ID: <n>\r\n\r\n" +
             noisy,
         0);
}

TEST_F(HostileMime, AFloodOfPartsIsCut) {
    std::string flood = "Content-Type: multipart/mixed; boundary=f\r\n\r\n";
    for (size_t i = 0; i < kMaxMimeParts + 500; ++i)
        flood += "--f\r\nContent-Type: a/b\r\n\r\nx\r\n";
    test::LogCapture log;
    auto root = MimePart::mimePartForData(Bytes::fromString(flood));
    EXPECT_EQ(root->subParts().size(), kMaxMimeParts - 1);  // the root counts too
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "MIME data with more than 100000 parts: the rest are left unread"});
    show(flood, 1);
}

}  // namespace
}  // namespace qb
