// SPDX-License-Identifier: Apache-2.0
// The font table of rich text: each font's name, generic family and code page (from its
// \fcharset), read from the tokens of the \fonttbl group.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "richtext/RTFTextDecoder.h"

namespace qb {

struct RTFFont {
    std::string name;
    std::string genericFamily;
    std::optional<uint32_t> codePage;
};

class RTFFontTable {
  public:
    // Tokens of the table, in order.
    void controlWord(std::string_view word, int32_t param, uint32_t documentCodePage);
    void text(std::string_view bytes);
    void hexByte(uint8_t byte);
    // The table (or a font's group inside it) has ended.
    void endFont();

    const RTFFont* font(int32_t index) const;
    // The code page of text in font `index` of a document whose code page is
    // `documentCodePage`.
    uint32_t codePageOf(int32_t index, uint32_t documentCodePage) const;

  private:
    std::unordered_map<int32_t, RTFFont> fonts_;
    int32_t current_ = -1;
    bool nameDone_ = false;
    RTFTextDecoder name_;
};

}  // namespace qb
