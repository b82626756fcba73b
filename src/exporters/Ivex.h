// Content-line helpers shared by the card and calendar writers.
#pragma once

#include <string>
#include <string_view>

namespace qb {

// A text value made safe for a content line, replacing in this order: "\" by "\\", CR LF by
// LF, LF by "\n", ";" by "\;" and "," by "\,". A lone CR is left as it is.
std::string escapeContentValue(std::string_view value);

}  // namespace qb
