// SPDX-License-Identifier: Apache-2.0
// Bodies written piece by piece: Base64 lines that do not depend on how the bytes arrive,
// sizes known before writing, line checks across piece boundaries, a sink that stops.
#include <gtest/gtest.h>

#include <random>

#include "mailkit/Base64.h"
#include "mime/MimeBody.h"
#include "mime/TransferEncoding.h"

namespace qb {
namespace {

std::string randomBytes(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (auto& c : s)
        c = static_cast<char>(gen() & 0xFF);
    return s;
}

// Base64 of `bytes` when they arrive in stretches of `step`.
std::string encodedInSteps(const std::string& bytes, size_t step) {
    std::string out;
    const MimeSink sink = [&](std::string_view s) {
        out.append(s);
        return true;
    };
    Base64LineWriter encoder(sink);
    for (size_t at = 0; at < bytes.size(); at += step)
        encoder.add(std::string_view(bytes).substr(at, step));
    encoder.finish();
    return out;
}

TEST(MimeBody, Base64LinesDoNotDependOnHowTheBytesArrive) {
    EXPECT_EQ(base64Body(""), "");
    EXPECT_EQ(base64Body("f"), "Zg==");
    EXPECT_EQ(base64Body("foobar"), "Zm9vYmFy");
    for (size_t n : {1, 56, 57, 58, 114, 1000, 200000}) {
        SCOPED_TRACE(n);
        const std::string bytes = randomBytes(n, unsigned(n));
        const std::string whole = base64Body(bytes);
        EXPECT_EQ(whole.size(), Base64LineWriter::encodedSize(n));
        // Lines of 76 characters but the last, joined by CR LF, nothing after the last.
        for (size_t at = 0; at < whole.size(); at += 78) {
            const size_t end = whole.find("\r\n", at);
            EXPECT_EQ((end == std::string::npos ? whole.size() : end) - at,
                      std::min<size_t>(76, whole.size() - at));
        }
        EXPECT_NE(whole.substr(whole.size() - 2), "\r\n");
        EXPECT_EQ(NewBase64Decode(whole), bytes);
        for (size_t step : {1, 2, 3, 56, 57, 100, 65537})
            EXPECT_EQ(encodedInSteps(bytes, step), whole) << "step " << step;
    }
}

TEST(MimeBody, PiecesWriteInOrderWithTheSizeGivenBeforehand) {
    const std::string blob = randomBytes(5000, 7);
    MimeBody inner("head\r\n");
    inner.append(MimeBody::base64Of(MimeBody::ofBytes(Bytes::fromString(blob))));
    inner.append("\r\ntail");
    MimeBody outer("--b\r\n");
    outer.append(inner);
    outer.append("\r\n--b\r\n");
    outer.append(MimeBody::base64Of(inner));
    // Text added after a shared piece does not change the body that shares it.
    outer.append("!");
    const std::string innerText = "head\r\n" + base64Body(blob) + "\r\ntail";
    EXPECT_EQ(inner.str(), innerText);
    const std::string expected =
        "--b\r\n" + innerText + "\r\n--b\r\n" + base64Body(innerText) + "!";
    EXPECT_EQ(outer.str(), expected);
    EXPECT_EQ(outer.size(), expected.size());
    EXPECT_EQ(MimeBody().size(), 0u);
    EXPECT_EQ(MimeBody::base64Of(MimeBody()).str(), "");

    // A sink that refuses stops the writing at once.
    size_t calls = 0;
    EXPECT_FALSE(outer.write([&](std::string_view) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2u);
}

TEST(MimeBody, LineChecksAgreeWithTheWholeTextAcrossPieces) {
    const std::string longLine(998, 'a');
    const std::string cases[] = {"a\r\nb",      "a\r",
                                 "a\rb",        "a\nb",
                                 longLine,      longLine + "a",
                                 "\r\n",        std::string("a\0b", 3),
                                 "caf\xC3\xA9", longLine + "\r\n" + longLine};
    for (const auto& text : cases) {
        for (size_t cut = 0; cut <= text.size(); cut += std::max<size_t>(1, text.size() / 7)) {
            MimeBody body(text.substr(0, cut));
            body.append(MimeBody::ofBytes(Bytes::fromString(text.substr(cut))));
            EXPECT_EQ(isSevenBitClean(body), isSevenBitClean(std::string_view(text)))
                << testing::PrintToString(text) << " cut at " << cut;
            EXPECT_EQ(isEightBitClean(body), isEightBitClean(std::string_view(text)))
                << testing::PrintToString(text) << " cut at " << cut;
        }
    }
    EXPECT_TRUE(isSevenBitClean(std::string_view("a\r\nb")));
    EXPECT_FALSE(isSevenBitClean(std::string_view("a\r")));
    EXPECT_FALSE(isSevenBitClean(std::string_view(longLine + "a")));
    EXPECT_TRUE(isEightBitClean(std::string_view("caf\xC3\xA9")));
    EXPECT_FALSE(isSevenBitClean(std::string_view("caf\xC3\xA9")));
}

}  // namespace
}  // namespace qb
