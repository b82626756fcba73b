// SPDX-License-Identifier: Apache-2.0
// Content-line helpers shared by the card and calendar writers.
#pragma once

#include <string>
#include <string_view>

namespace qb {

// What a CR that is not followed by LF becomes: cards keep it as it is; calendar files make it
// a line break, since some calendar readers end the content line there.
enum class LoneCR { Kept, LineBreak };

// A text value made safe for a content line, replacing in this order: "\" by "\\", CR LF by
// LF, LF by "\n", ";" by "\;" and "," by "\,".
std::string escapeContentValue(std::string_view value, LoneCR loneCR = LoneCR::Kept);

}  // namespace qb
