// SPDX-License-Identifier: Apache-2.0
// HTML read into styled text: fonts, sizes, weights, colours, links, paragraphs, lists,
// tables and images, as a page shows them.
#pragma once

#include <optional>
#include <string_view>

#include "richtext/StyledText.h"

namespace qb {

// Nothing when the text gives no document at all.
std::optional<StyledText> readHTML(std::string_view utf8Html);

}  // namespace qb
