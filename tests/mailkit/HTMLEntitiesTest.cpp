// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "mailkit/HTMLEntities.h"

namespace qb {
namespace {

TEST(HTMLEntities, TablesHaveTheirSizesOrderAndFirstRows) {
    struct Expect {
        const html::EscapeTable& table;
        size_t size;
        const char* first;
    };
    for (const Expect& e :
         {Expect{html::kUnicodeHTML, 33, "&quot;"}, Expect{html::kAsciiHTML, 253, "&quot;"},
          Expect{html::kAsciiHTMLContent, 249, "&amp;"},
          Expect{html::kUnicodeHTMLContent, 28, "&OElig;"}}) {
        ASSERT_EQ(e.table.size, e.size);
        EXPECT_STREQ(e.table.entries[0].entity, e.first);
        for (size_t i = 1; i < e.table.size; ++i)
            EXPECT_LT(e.table.entries[i - 1].unit, e.table.entries[i].unit)
                << e.table.entries[i].entity;
    }
}

TEST(HTMLEntities, EscapersDifferInWhatTheyTouch) {
    const std::string text = "<a href=\"x\">Café & Œuvre’s 😀</a>";
    EXPECT_EQ(stringByEncodingHTMLEntities(text),
              "&lt;a href=&quot;x&quot;&gt;Café &amp; &OElig;uvre&rsquo;s 😀&lt;/a&gt;");
    EXPECT_EQ(
        stringByEscapingForAsciiHTML(text),
        "&lt;a href=&quot;x&quot;&gt;Caf&eacute; &amp; &OElig;uvre&rsquo;s &#128512;&lt;/a&gt;");
    EXPECT_EQ(stringByEscapingForAsciiHTMLContent(text),
              "&lt;a href=\"x\"&gt;Caf&eacute; &amp; &OElig;uvre&rsquo;s &#128512;&lt;/a&gt;");
    EXPECT_EQ(stringByEscapingForHTMLContent(text),
              "<a href=\"x\">Caf&#233; & &OElig;uvre&rsquo;s &#128512;</a>");
}

TEST(HTMLEntities, DecodesNamedAndNumericReferences) {
    EXPECT_EQ(stringByDecodingHTMLEntities("&lt;b&gt; caf&eacute; &#233; &#xE9; &#X1F600; &euro;"),
              "<b> café é é 😀 €");
    EXPECT_EQ(stringByDecodingHTMLEntities("AT&T &unknown; & &#; &#xZZ; &#55357; &amp"),
              "AT&T &unknown; & &#; &#xZZ; &#55357; &amp");
    const std::string sample = "Ünïcödé <tags> & \"quotes\" ’ € 😀";
    EXPECT_EQ(stringByDecodingHTMLEntities(stringByEscapingForAsciiHTML(sample)), sample);
}

}  // namespace
}  // namespace qb
