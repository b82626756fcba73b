// SPDX-License-Identifier: Apache-2.0
// Values rendered for the dump and info output, safe to print to a terminal.
#pragma once

#include <string>
#include <string_view>

#include "model/MAPIValue.h"
#include "platform/Bytes.h"
#include "tnef/TNEFAttr.h"

namespace qb::cli {

// One-line renderings of values for people: strings quoted and escaped, long ones cut;
// byte data as its length and first bytes in hex.
std::string quotedText(std::string_view text, size_t maxCodePoints = 120);
// The text as it is, but with control characters made visible ("\\n", "\\x1b"), so that
// a crafted name cannot drive the terminal.
std::string escapedText(std::string_view text);
std::string bytesSummary(const Bytes& bytes);
std::string summarize(const MAPIData& value);
std::string summarize(const TNEFAttrValue& value);

}  // namespace qb::cli
