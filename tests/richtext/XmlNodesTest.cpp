// SPDX-License-Identifier: Apache-2.0
// Writing trees back as HTML: in stretches to a sink, and with values shared between elements.
#include <gtest/gtest.h>

#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>

#include <string>

#include "richtext/XmlNodes.h"

namespace qb {
namespace {

XmlDocPtr parse(const std::string& html) {
    return XmlDocPtr(
        htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                       HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING));
}

TEST(XmlNodes, SharedValuesAreWrittenForEveryElementAndFreedOnce) {
    XmlDocPtr doc = parse("<html><body><img><img><p class=old>x</p></body></html>");
    ASSERT_TRUE(doc);
    const std::string picture = "data:image/png;base64," + std::string(3000, 'A');
    xmlNode* body = lastChildElement(xmlDocGetRootElement(doc.get()), "body");
    ASSERT_TRUE(body);
    for (xmlNode* n = body->children; n; n = n->next) {
        if (isElement(n, "img")) setSharedAttribute(n, "src", picture);
        if (isElement(n, "p")) setSharedAttribute(n, "class", "new");  // replaces the old value
    }
    for (xmlNode* n = body->children; n; n = n->next) {
        if (isElement(n, "img")) {
            EXPECT_EQ(xmlAttribute(n, "src"), picture);
        }
    }
    const auto text = htmlDocumentText(doc.get());
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find("class=\"old\""), std::string::npos);
    EXPECT_NE(text->find("<p class=\"new\">"), std::string::npos);
    const size_t first = text->find(picture);
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(text->find(picture, first + picture.size()), std::string::npos);
    // Freeing the document frees the one copy (the sanitizer runs would see it twice).
}

TEST(XmlNodes, WritingInStretchesGivesTheWholeTextAndStopsWhenTheSinkDoes) {
    std::string html = "<html><head><meta charset=\"utf-8\"></head><body>";
    for (int i = 0; i < 3000; ++i)
        html += "<p>paragraph " + std::to_string(i) + " \xC3\xA9t\xC3\xA9</p>";
    html += "</body></html>";
    XmlDocPtr doc = parse(html);
    ASSERT_TRUE(doc);
    xmlChar* mem = nullptr;
    int size = 0;
    htmlDocDumpMemoryFormat(doc.get(), &mem, &size, 0);
    ASSERT_TRUE(mem);
    const std::string expected(reinterpret_cast<const char*>(mem), static_cast<size_t>(size));
    xmlFree(mem);

    std::string streamed;
    size_t stretches = 0;
    EXPECT_TRUE(writeHTMLDocument(doc.get(), [&](std::string_view piece) {
        streamed += piece;
        ++stretches;
        return true;
    }));
    EXPECT_EQ(streamed, expected);
    EXPECT_GT(stretches, 5u);
    EXPECT_EQ(htmlDocumentText(doc.get()), expected);

    size_t calls = 0;
    EXPECT_FALSE(writeHTMLDocument(doc.get(), [&](std::string_view) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2u);
}

}  // namespace
}  // namespace qb
