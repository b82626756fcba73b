// SPDX-License-Identifier: Apache-2.0
// HTML escaping and entity decoding for text the toolkit turns into or reads from HTML, such
// as quoted-printable bodies shown as HTML.
#pragma once

#include <string>
#include <string_view>

#include "mailkit/HTMLEntityTables.h"

namespace qb {

// Replaces every character found in `table` by its entity; with `escapingUnicode`, every
// other character above U+007F becomes a decimal reference "&#N;" (one per code point).
std::string stringByEscapingHTMLUsingTable(std::string_view utf8, const html::EscapeTable& table,
                                           bool escapingUnicode);

// The markup characters and the named characters above U+0151; nothing else.
std::string stringByEncodingHTMLEntities(std::string_view utf8);
// Every named entity; everything else above U+007F as a numeric reference.
std::string stringByEscapingForAsciiHTML(std::string_view utf8);
// As above but quotes stay: for element content.
std::string stringByEscapingForAsciiHTMLContent(std::string_view utf8);
// Only characters above U+007F: markup passes through.
std::string stringByEscapingForHTMLContent(std::string_view utf8);

// Named entities of the tables and decimal or hexadecimal references back to characters;
// anything else is left as it stands.
std::string stringByDecodingHTMLEntities(std::string_view text);

}  // namespace qb
