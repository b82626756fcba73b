// SPDX-License-Identifier: Apache-2.0
// The RTF reader: rich text into styled text. Tolerant and bounded: unknown destinations
// are skipped, unbalanced braces and cut-off input end with what was read, nesting deeper
// than a fixed limit is skipped.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "richtext/StyledText.h"

namespace qb {

// The picture files of a rich-text directory document, by name; "\NeXTGraphic NAME"
// references are read as those pictures.
using RTFPictureFiles = std::map<std::string, Bytes, std::less<>>;

// Nothing when `rtf` is not rich text (it must begin with "{\rtf").
std::optional<StyledText> readRTF(const Bytes& rtf, const RTFPictureFiles* files = nullptr);

// The value of a field instruction "HYPERLINK "url" \l "anchor"": the link target, or
// nothing for another kind of field.
std::optional<std::string> hyperlinkOfFieldInstruction(std::string_view instruction);

}  // namespace qb
