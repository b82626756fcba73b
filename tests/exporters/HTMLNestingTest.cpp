// SPDX-License-Identifier: Apache-2.0
// The scan that keeps bodies too deep for the HTML step away from it.
#include <gtest/gtest.h>

#include <string>

#include "exporters/HTMLNesting.h"

namespace qb {
namespace {

std::string nested(const std::string& open, const std::string& close, size_t depth) {
    std::string html;
    for (size_t i = 0; i < depth; ++i)
        html += open;
    html += "text";
    for (size_t i = 0; i < depth; ++i)
        html += close;
    return html;
}

TEST(HTMLNesting, CountsOpenElementsOnly) {
    EXPECT_FALSE(htmlNestsDeeperThan(nested("<div>", "</div>", 10), 10));
    EXPECT_TRUE(htmlNestsDeeperThan(nested("<div>", "</div>", 11), 10));
    EXPECT_TRUE(htmlNestsDeeperThan(nested("<DIV class='a'>", "", 11), 10));
    // Siblings are no nesting.
    std::string siblings;
    for (int i = 0; i < 1000; ++i)
        siblings += "<span>x</span>";
    EXPECT_FALSE(htmlNestsDeeperThan(siblings, 10));
}

TEST(HTMLNesting, SloppyButShallowMarkupIsNotDeep) {
    // Void elements, self-closed tags, unclosed paragraphs and cells, comments, scripts and a
    // "<" in text are no levels.
    std::string html = "<!DOCTYPE html><html><body>";
    for (int i = 0; i < 500; ++i)
        html += "<p>para<br><img src=x><td>cell<li>item<tr><x/><!-- <div><div> -->a < b";
    html += "<script>if (a<b) { document.write('<div><div><div>'); }</script></body></html>";
    EXPECT_FALSE(htmlNestsDeeperThan(html, 10));
    // Cut-off markup ends the scan.
    EXPECT_FALSE(htmlNestsDeeperThan("<div><div><!-- never closed <div><div><div>", 3));
    EXPECT_FALSE(htmlNestsDeeperThan("<div><div", 1));
}

}  // namespace
}  // namespace qb
