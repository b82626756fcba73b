// SPDX-License-Identifier: Apache-2.0
// Font sizes in HTML bodies: what <font size> stands for, and bodies shown two points larger
// (the HTML body exporter and the RTF exporter's HTML both use it).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qb {

// The text size a reader shows when a document names none (12 pt).
inline constexpr double kDefaultFontPoints = 12.0;

// The points a <font size="…"> value ("1"…"7", "+2", "-1") stands for, as browsers draw it;
// nothing for a value that is no size.
std::optional<double> fontElementPoints(std::string size);

// CSS with every absolute font size (pt or px, in "font-size" and in the "font" shorthand)
// raised by `points`; px are read at 0.75 pt each. Relative sizes stay as they are.
std::string cssWithFontSizesEnlarged(std::string_view css, double points);

// An HTML document (UTF-8) read tolerantly and written back as a complete UTF-8 document
// with every font size raised by `points`: inline styles, style sheets, <font size> and the
// body's default size. Nothing when the text does not give a document or writing it fails;
// the reason is logged.
std::optional<std::string> htmlWithFontsEnlarged(std::string_view utf8Html, double points);

}  // namespace qb
