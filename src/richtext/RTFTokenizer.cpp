// SPDX-License-Identifier: Apache-2.0
// The rich-text tokenizer.
#include "richtext/RTFTokenizer.h"
#include "platform/HexDigits.h"
#include "richtext/ByteScan.h"

#include <limits>

namespace qb {

namespace {

// Control words are at most 32 letters and parameters at most 10 digits; longer runs are
// cut there, as readers of the format do.
constexpr size_t kMaxWordLength = 32;
constexpr size_t kMaxParamDigits = 10;

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Text runs to the next token's first byte or a line end (line ends carry no meaning, so
// text on either side of one is two tokens); data read as one run goes over line ends.
size_t endOfText(std::string_view s, size_t from) {
    return bytescan::findFirst(s, from, "\\{}\r\n");
}

size_t endOfData(std::string_view s, size_t from) {
    return bytescan::findFirst(s, from, "\\{}");
}

}  // namespace

RTFToken RTFTokenizer::next() {
    // Line ends in the input carry no meaning.
    while (pos_ < rtf_.size() && (rtf_[pos_] == '\r' || rtf_[pos_] == '\n'))
        ++pos_;
    RTFToken t;
    t.offset = pos_;
    if (pos_ >= rtf_.size()) return t;
    const char c = rtf_[pos_];
    if (c == '{') {
        ++pos_;
        t.kind = RTFToken::Kind::GroupStart;
        return t;
    }
    if (c == '}') {
        ++pos_;
        t.kind = RTFToken::Kind::GroupEnd;
        return t;
    }
    if (c == '\\') return controlToken(pos_);
    const size_t end = endOfText(rtf_, pos_);
    t.kind = RTFToken::Kind::Text;
    t.text = rtf_.substr(pos_, end - pos_);
    pos_ = end;
    return t;
}

std::string_view RTFTokenizer::textRun() {
    const size_t end = endOfData(rtf_, pos_);
    const std::string_view text = rtf_.substr(pos_, end - pos_);
    pos_ = end;
    return text;
}

void RTFTokenizer::skipGroup() {
    size_t depth = 1;
    for (RTFToken t = next(); t.kind != RTFToken::Kind::End; t = next()) {
        if (t.kind == RTFToken::Kind::GroupStart) ++depth;
        if (t.kind == RTFToken::Kind::GroupEnd && --depth == 0) return;
    }
}

RTFToken RTFTokenizer::controlToken(size_t start) {
    RTFToken t;
    t.offset = start;
    size_t p = start + 1;
    if (p >= rtf_.size()) {
        pos_ = p;
        t.kind = RTFToken::Kind::End;
        return t;
    }
    const char c = rtf_[p];
    if (!isLetter(c)) {
        if (c == '\'') {
            const int hi = p + 1 < rtf_.size() ? hexDigitValue(rtf_[p + 1]) : -1;
            const int lo = p + 2 < rtf_.size() ? hexDigitValue(rtf_[p + 2]) : -1;
            if (hi >= 0 && lo >= 0) {
                pos_ = p + 3;
                t.kind = RTFToken::Kind::HexByte;
                t.byte = static_cast<uint8_t>(hi * 16 + lo);
                return t;
            }
        }
        // A backslash before a line end is a paragraph mark.
        if (c == '\r' || c == '\n') {
            pos_ = p + 1;
            if (c == '\r' && pos_ < rtf_.size() && rtf_[pos_] == '\n') ++pos_;
            t.kind = RTFToken::Kind::ControlWord;
            t.word = "par";
            return t;
        }
        pos_ = p + 1;
        t.kind = RTFToken::Kind::ControlSymbol;
        t.word = rtf_.substr(p, 1);
        return t;
    }
    size_t end = p;
    while (end < rtf_.size() && isLetter(rtf_[end]) && end - p < kMaxWordLength)
        ++end;
    t.kind = RTFToken::Kind::ControlWord;
    t.word = rtf_.substr(p, end - p);
    size_t q = end;
    const bool negative = q < rtf_.size() && rtf_[q] == '-' && q + 1 < rtf_.size() &&
                          isDigit(rtf_[q + 1]);
    if (negative) ++q;
    if (q < rtf_.size() && isDigit(rtf_[q])) {
        int64_t value = 0;
        size_t digits = 0;
        while (q < rtf_.size() && isDigit(rtf_[q]) && digits < kMaxParamDigits) {
            value = value * 10 + (rtf_[q] - '0');
            ++q;
            ++digits;
        }
        if (negative) value = -value;
        constexpr int64_t lo = std::numeric_limits<int32_t>::min();
        constexpr int64_t hi = std::numeric_limits<int32_t>::max();
        t.param = static_cast<int32_t>(value < lo ? lo : (value > hi ? hi : value));
        end = q;
    }
    // One space after a control word belongs to it.
    if (end < rtf_.size() && rtf_[end] == ' ') ++end;
    pos_ = end;
    if (t.word == "bin" && t.param && *t.param > 0) {
        // The data follows the word directly, whatever bytes it holds.
        const size_t n = static_cast<size_t>(*t.param);
        const size_t take = n < rtf_.size() - pos_ ? n : rtf_.size() - pos_;
        t.kind = RTFToken::Kind::Binary;
        t.text = rtf_.substr(pos_, take);
        pos_ += take;
    }
    return t;
}

}  // namespace qb
