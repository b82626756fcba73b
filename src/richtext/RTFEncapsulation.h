// SPDX-License-Identifier: Apache-2.0
// Rich text that carries another format: mail programs that turn an HTML or plain-text
// message into RTF mark it "\fromhtml1" or "\fromtext" and keep the original inside, the
// HTML tags in "\*\htmltag" groups and the RTF-only parts between "\htmlrtf" and
// "\htmlrtf0". This recovers the original.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qb {

enum class RTFEncapsulation { None, HTML, Text };

// What the document's header says it carries.
RTFEncapsulation encapsulationOfRTF(std::string_view rtf);

// The original of an encapsulating document, in UTF-8 (HTML for "\fromhtml1", plain text
// for "\fromtext"); nothing when the document encapsulates nothing or holds no content.
std::optional<std::string> decapsulateRTF(std::string_view rtf);

}  // namespace qb
