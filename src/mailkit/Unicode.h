// SPDX-License-Identifier: Apache-2.0
// Walking and writing UTF-8 one code point at a time, for the escapers of the toolkit and
// the rich-text layer.
#pragma once

#include <string>
#include <string_view>

namespace qb {

// The code point at `i` of UTF-8 text, moving `i` past it; a byte that does not start a
// well-formed sequence is taken as U+FFFD and skipped alone.
char32_t nextCodePoint(std::string_view utf8, size_t& i);
void appendUTF8(std::string& out, char32_t c);
// The length of the UTF-8 sequence a byte starts: 2 to 4 for a lead byte, 1 for anything
// else (ASCII, or a stray byte taken alone).
size_t utf8SequenceLength(unsigned char lead);
// Whether every character is below U+0080.
bool isASCII(std::string_view text);

}  // namespace qb
