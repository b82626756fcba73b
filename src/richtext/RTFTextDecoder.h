// SPDX-License-Identifier: Apache-2.0
// Text of rich text in the right characters: 8-bit bytes collected in the code page of the
// current font and decoded together (so the lead and trail bytes of Asian code pages form
// one character), and \uN characters with their surrogate halves joined.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qb {

// The pseudo code page of symbol fonts, whose bytes are pictures rather than letters.
inline constexpr uint32_t kSymbolCodePage = 42;

// The Windows code page of a font's \fcharset; nothing for the default charset (1), whose
// text is in the document's code page.
std::optional<uint32_t> codePageForRTFCharset(int32_t charset);

class RTFTextDecoder {
  public:
    // Bytes after this are read in `codePage`; bytes already collected keep theirs.
    void setCodePage(uint32_t codePage);
    uint32_t codePage() const { return codePage_; }

    void addBytes(std::string_view bytes);
    void addByte(uint8_t byte);
    // A \uN value (negative values count from 65536, as writers store them).
    void addUnicode(int32_t value);
    void addUTF8(std::string_view text);

    bool hasPending() const { return !bytes_.empty() || !text_.empty() || highSurrogate_; }
    // Everything collected so far, in UTF-8; the decoder starts afresh.
    std::string take();

  private:
    void flushBytes();
    // Single-byte code pages decode through a table of their upper half, made once per
    // code page the document uses: most documents are mostly such text.
    bool decodeWithTable();

    uint32_t codePage_ = 1252;
    std::string bytes_;
    std::string text_;
    uint16_t highSurrogate_ = 0;
    uint32_t tableCodePage_ = 0;
    std::vector<std::string> table_;
};

}  // namespace qb
