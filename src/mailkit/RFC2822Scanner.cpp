// SPDX-License-Identifier: Apache-2.0
// A hand-written recursive scanner: comments nest at most 64 deep, and a failed alternative
// rewinds to where it started instead of consuming input.
#include "mailkit/RFC2822Scanner.h"

#include <fmt/format.h>

namespace qb {

namespace {

constexpr int kMaxCommentDepth = 64;

bool isAtext(unsigned char c) {
    if (c >= 0x80) return true;  // UTF-8 in internationalised headers
    if (std::isalnum(c)) return true;
    return std::string_view("!#$%&'*+-/=?^_`{|}~").find(static_cast<char>(c)) !=
           std::string_view::npos;
}

bool isWSP(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}  // namespace

bool RFC2822Scanner::fail(std::string* error, const std::string& message) {
    if (error) *error = fmt::format("{} at offset {}", message, pos_);
    return false;
}

bool RFC2822Scanner::skipComment(std::string* text) {
    // At "(": comments nest and may hold quoted pairs.
    int depth = 0;
    const size_t start = pos_;
    while (pos_ < s_.size()) {
        const char c = s_[pos_++];
        if (c == '\\' && pos_ < s_.size()) {
            if (text && depth == 1) *text += s_[pos_];
            ++pos_;
            continue;
        }
        if (c == '(') {
            if (++depth > kMaxCommentDepth) break;
            if (text && depth > 1) *text += c;
        } else if (c == ')') {
            if (--depth == 0) return true;
            if (text) *text += c;
        } else if (text) {
            *text += c;
        }
    }
    pos_ = start;
    return false;
}

void RFC2822Scanner::skipCFWS() {
    for (;;) {
        while (pos_ < s_.size() && isWSP(s_[pos_]))
            ++pos_;
        if (!peek('(')) return;
        std::string comment;
        if (!skipComment(&comment)) {
            pos_ = s_.size();  // an unclosed comment swallows the rest
            return;
        }
        lastComment_ = comment;
    }
}

std::optional<std::string> RFC2822Scanner::scanAtom() {
    const size_t start = pos_;
    while (pos_ < s_.size() && isAtext(static_cast<unsigned char>(s_[pos_])))
        ++pos_;
    if (pos_ == start) return std::nullopt;
    return std::string(s_.substr(start, pos_ - start));
}

std::optional<std::string> RFC2822Scanner::scanQuotedString() {
    if (!peek('"')) return std::nullopt;
    const size_t start = pos_++;
    std::string out;
    while (pos_ < s_.size()) {
        const char c = s_[pos_++];
        if (c == '"') return out;
        if (c == '\\' && pos_ < s_.size()) {
            out += s_[pos_++];
        } else if (c == '\r' || c == '\n') {
            // Folding inside a quoted string: the line break goes, the white space stays.
        } else {
            out += c;
        }
    }
    pos_ = start;
    return std::nullopt;
}

std::optional<std::string> RFC2822Scanner::scanWord() {
    skipCFWS();
    if (peek('"')) return scanQuotedString();
    return scanAtom();
}

std::optional<std::string> RFC2822Scanner::scanDotted(
    std::optional<std::string> (RFC2822Scanner::*scanItem)(), bool spaceAfterDot) {
    auto first = (this->*scanItem)();
    if (!first) return std::nullopt;
    std::string out = *first;
    for (;;) {
        // A dot with nothing after it is not part of the run: leave it for the caller.
        const size_t save = pos_;
        skipCFWS();
        if (!peek('.')) {
            pos_ = save;
            return out;
        }
        ++pos_;
        if (spaceAfterDot) skipCFWS();
        auto next = (this->*scanItem)();
        if (!next) {
            pos_ = save;
            return out;
        }
        out += "." + *next;
    }
}

std::optional<std::string> RFC2822Scanner::scanDotAtomOrWords() {
    // local-part: dot-atom, quoted string, or the obsolete words joined by dots.
    return scanDotted(&RFC2822Scanner::scanWord, false);
}

std::optional<std::string> RFC2822Scanner::scanDomain() {
    skipCFWS();
    if (peek('[')) {
        const size_t start = pos_;
        const size_t close = s_.find(']', pos_);
        if (close == std::string_view::npos) return std::nullopt;
        pos_ = close + 1;
        std::string literal;
        for (char c : s_.substr(start, pos_ - start))
            if (c != '\r' && c != '\n') literal += c;
        return literal;
    }
    return scanDotted(&RFC2822Scanner::scanAtom, true);
}

bool RFC2822Scanner::scanAddrSpec(RFC2822Mailbox& out, std::string* error) {
    auto local = scanDotAtomOrWords();
    if (!local) return fail(error, "expected a local part");
    out.localPart = *local;
    skipCFWS();
    if (!peek('@')) {
        out.domain.reset();  // a bare local part: kept, but not a valid address
        return true;
    }
    ++pos_;
    auto domain = scanDomain();
    if (!domain) return fail(error, "expected a domain after \"@\"");
    out.domain = *domain;
    return true;
}

bool RFC2822Scanner::scanAngleAddr(RFC2822Mailbox& out, std::string* error) {
    // At "<". An obsolete source route ("@a,@b:") is stepped over.
    ++pos_;
    skipCFWS();
    if (peek('@')) {
        const size_t colon = s_.find(':', pos_);
        const size_t close = s_.find('>', pos_);
        if (colon != std::string_view::npos && colon < close) pos_ = colon + 1;
    }
    skipCFWS();
    if (peek('>')) {
        ++pos_;
        out.localPart.clear();
        out.domain.reset();
        return true;  // "<>": the null sender
    }
    if (!scanAddrSpec(out, error)) return false;
    skipCFWS();
    if (!peek('>')) return fail(error, "expected \">\"");
    ++pos_;
    return true;
}

bool RFC2822Scanner::atEnd() {
    skipCFWS();
    return pos_ >= s_.size();
}

bool RFC2822Scanner::scanMailbox(RFC2822Mailbox& out, std::string* error) {
    out = RFC2822Mailbox{};
    for (;;) {
        skipCFWS();
        if (pos_ >= s_.size()) return false;
        if (peek(',')) {
            ++pos_;
            continue;
        }
        if (peek(';') && inGroup_) {
            ++pos_;
            inGroup_ = false;
            continue;
        }
        break;
    }

    const size_t start = pos_;
    lastComment_.clear();
    // A phrase (display name or group name) is words, and the dots of obsolete phrases.
    std::string phrase;
    size_t words = 0;
    for (;;) {
        const size_t save = pos_;
        skipCFWS();
        const bool spaced = pos_ > save;
        if (peek('.') && words > 0) {
            ++pos_;
            phrase += '.';
            continue;
        }
        const bool quoted = peek('"');
        auto word = quoted ? scanQuotedString() : scanAtom();
        if (!word) {
            if (quoted) return fail(error, "unterminated quoted string");
            pos_ = save;
            break;
        }
        if (!phrase.empty() && (phrase.back() != '.' || spaced)) phrase += ' ';
        phrase += *word;
        ++words;
    }
    skipCFWS();
    if (peek(':') && !inGroup_ && words > 0) {
        ++pos_;  // a group: its mailboxes follow
        inGroup_ = true;
        return scanMailbox(out, error);
    }
    if (peek('<')) {
        if (words > 0) out.displayName = phrase;
        if (!scanAngleAddr(out, error)) return false;
        skipCFWS();
        return true;
    }
    // Not a name-addr: read it again as a bare address, with a trailing comment as its name.
    pos_ = start;
    lastComment_.clear();
    if (!scanAddrSpec(out, error)) return false;
    skipCFWS();
    if (!lastComment_.empty()) out.displayName = lastComment_;
    if (pos_ < s_.size() && !peek(',') && !peek(';'))
        return fail(error, fmt::format("unexpected \"{}\"", s_[pos_]));
    return true;
}

}  // namespace qb
