// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "exporters/ContentIDs.h"

namespace qb {
namespace {

TEST(ContentIDs, ReferencesToWrittenPicturesPointAtTheirFiles) {
    const ContentIDFiles files{{normalizedContentID("<Image001.PNG@01D0.ABC>"), "image001 (2).png"},
                               {normalizedContentID("logo"), "logo.gif"}};
    EXPECT_EQ(htmlWithContentIDsLinked("<img src=\"cid:image001.png@01d0.abc\"><img src='CID:logo'>"
                                       "<div style=\"background:url(cid:logo)\">"
                                       "<img src=\"cid:other\"><a href=\"cid:image001.png%4001D0.ABC\">",
                                       files),
              "<img src=\"image001%20%282%29.png\"><img src='logo.gif'>"
              "<div style=\"background:url(logo.gif)\">"
              "<img src=\"cid:other\"><a href=\"image001%20%282%29.png\">");
    EXPECT_EQ(htmlWithContentIDsLinked("no references, cid", files), "no references, cid");
    EXPECT_EQ(htmlWithContentIDsLinked("cid:", files), "cid:");
    EXPECT_EQ(htmlWithContentIDsLinked("<img src=\"cid:logo\">", {}), "<img src=\"cid:logo\">");
}

}  // namespace
}  // namespace qb
