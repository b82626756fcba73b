// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qb::test {

// The words of a text: runs of characters between white space (U+00A0 counts as space).
std::vector<std::string> wordsOf(std::string_view utf8);

// How alike two word sequences are, as Python's difflib measures it without its junk
// heuristic: twice the words in matching blocks over the words of both (1 when both empty).
double similarity(const std::vector<std::string>& a, const std::vector<std::string>& b);

// Where two word sequences first part: a few words of each from there, for a failure message.
std::string firstDifference(const std::vector<std::string>& a, const std::vector<std::string>& b);

// The text a browser shows for an HTML document (head, style and script left out), read
// with libxml2's HTML parser in `encoding` (nothing: as the document declares).
std::string textOfHTML(std::string_view html, const char* encoding = "UTF-8");

}  // namespace qb::test
