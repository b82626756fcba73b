// SPDX-License-Identifier: Apache-2.0
// Arbitrary input to every decoder and parser of the toolkit: no crash, no hang, and (in the
// sanitizer build) no read out of bounds.
#include <gtest/gtest.h>

#include <random>

#include "mailkit/Base64.h"
#include "mailkit/EmailAddressParsing.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/MKMimeHeaders.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MimeEncoding.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

TEST(ToolkitRobustness, ArbitraryInputToEveryDecoder) {
    test::LogCapture quiet;
    const std::string pieces[] = {"=?",       "?=",
                                  "?Q?",      "?B?",
                                  "utf-8",    "iso-8859-1",
                                  "=",        "_",
                                  "%",        "=4",
                                  "=C3",      "&#",
                                  "&amp",     ";",
                                  "\r\n",     "\n",
                                  " ",        "\t",
                                  ":",        ",",
                                  "<",        ">",
                                  "\"",       "\\",
                                  "(",        ")",
                                  "@",        "{",
                                  "}",        "a",
                                  "\xC3\xA9", "\xFF",
                                  "\x80",     std::string(1, '\0'),
                                  "Zm9v",     "To: ",
                                  "From:"};
    std::mt19937 rng(77);
    for (int round = 0; round < 4000; ++round) {
        std::string s;
        const size_t n = rng() % 30;
        for (size_t i = 0; i < n; ++i)
            s += pieces[rng() % std::size(pieces)];
        (void)decodedMimeEncodedString(s);
        (void)stringWithMimeEncodedWord(s);
        for (StringEncoding e : {kUTF8Encoding, kISOLatin1Encoding, kShiftJISEncoding}) {
            (void)stringFromQuotedPrintableString(s, e);
            (void)htmlEncodedStringFromQuotedPrintableString(s, e);
            (void)decodedQuotedPrintableString(s, e);
        }
        (void)NewBase64Decode(s);
        (void)stringByConvertingLiteralsToBase64(s);
        (void)stringByDecodingHTMLEntities(s);
        (void)stringByEscapingForAsciiHTML(s);
        (void)emailAddressValidate(s);
        (void)emailFullName(s);
        (void)mimeWordWithString(s, kISOLatin1Encoding);
        (void)quotedPrintableStringForPlainTextBody(s, kASCIIEncoding);
        (void)MKMimeHeaders::mimeEncodedHeaderForKey("Subject", s, 0);
        (void)foldHeaderLine(s + s + s + s);
        MKMessageHeaders headers(s);
        (void)headers.addressListForKey("To");
        (void)headers.headerForKey("From");
        MKMimeHeaders writer;
        writer.setHeader(s, "X-Test");
        (void)writer.foldedHeaderString();
    }
}

}  // namespace
}  // namespace qb
