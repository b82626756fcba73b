// SPDX-License-Identifier: Apache-2.0
// Styled text written back as RTF: fonts and colours in tables, paragraphs, runs, links as
// fields, tables and pictures. Non-ASCII text is written as \uN, so any reader gets the
// characters whatever its code page.
#pragma once

#include <string>

#include "richtext/StyledText.h"

namespace qb {

std::string rtfOfStyledText(const StyledText& text);

}  // namespace qb
