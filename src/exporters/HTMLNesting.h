// SPDX-License-Identifier: Apache-2.0
// A guard for the HTML exporter: bodies nested deeper than the HTML parser can hold keep
// their own bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace qb {

// How deep the HTML step may nest elements: its parser stops at 256 levels and drops the
// rest of the document, so deeper bodies keep their own bytes. A few levels are left for the
// html, head and body elements the parser adds.
inline constexpr size_t kMaxHTMLStepDepth = 240;

// Whether the elements of `html` nest deeper than `limit`, counted from its tags: start tags
// open a level and end tags close one; void elements, self-closed tags, comments, and
// elements whose end tag may be left out (p, li, td…) are not counted, so a sloppy but
// shallow body never counts as deep.
bool htmlNestsDeeperThan(std::string_view html, size_t limit);

}  // namespace qb
