// SPDX-License-Identifier: Apache-2.0
// The lexical layer of rich text: groups, control words and symbols, hex bytes, text and
// binary data, read without copying. The RTF reader and the HTML de-encapsulation share it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qb {

struct RTFToken {
    enum class Kind : uint8_t {
        GroupStart,     // {
        GroupEnd,       // }
        ControlWord,    // \word or \wordN: `word`, `param`
        ControlSymbol,  // \x for a non-letter x: `word` is that one character
        HexByte,        // \'hh: `byte`
        Text,           // a run of text bytes without line ends: `text`
        Binary,         // the data after \binN: `text` (cut to what the input holds)
        End,
    };
    Kind kind = Kind::End;
    std::string_view word;
    std::optional<int32_t> param;
    std::string_view text;
    uint8_t byte = 0;
    // Where the token begins in the input.
    size_t offset = 0;

    bool is(std::string_view controlWord) const {
        return kind == Kind::ControlWord && word == controlWord;
    }
};

// Reads tokens one after another. Never fails: malformed input gives text or symbols, and
// the end of the input gives End (again and again).
class RTFTokenizer {
  public:
    explicit RTFTokenizer(std::string_view rtf) : rtf_(rtf) {}

    RTFToken next();
    // The text from here to the next control word or symbol, group start or group end, line
    // ends included, read past at once (for long runs of data such as a picture's digits).
    std::string_view textRun();
    // Reads past the rest of the group whose "{" was the last group start read.
    void skipGroup();
    size_t position() const { return pos_; }
    std::string_view input() const { return rtf_; }

  private:
    RTFToken controlToken(size_t start);

    std::string_view rtf_;
    size_t pos_ = 0;
};

}  // namespace qb
