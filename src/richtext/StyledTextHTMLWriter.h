// SPDX-License-Identifier: Apache-2.0
// Styled text written as one complete UTF-8 HTML document: paragraphs, spans with inline
// styles, links, tables, list markers and images.
#pragma once

#include <string>

#include "richtext/StyledText.h"

namespace qb {

// Images with a name (pictures of a directory document) are written as
// <img src="file:///NAME" alt="NAME">, for the caller to replace; the others as data: URIs.
// Images of kinds a page cannot show are left out.
// `sizeHint`: the size of the document it was read from, so that the page is not copied as it
// grows.
std::string htmlOfStyledText(const StyledText& text, size_t sizeHint = 0);

}  // namespace qb
