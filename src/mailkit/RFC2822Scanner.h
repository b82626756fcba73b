// SPDX-License-Identifier: Apache-2.0
// The address-list scanner behind MKEmailAddress: header values from message files, with
// comments, groups and obsolete forms.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qb {

// One mailbox as a header writes it: an optional display name (quoted strings unquoted,
// comments and folding removed, encoded words left as they are) and local part and domain.
struct RFC2822Mailbox {
    std::optional<std::string> displayName;
    std::string localPart;
    std::optional<std::string> domain;
};

// Scans RFC 2822 address syntax: mailboxes (name-addr and bare addresses, with dot-atoms, quoted
// local parts and domain literals), groups, nested comments and folding white space. Bytes
// above 0x7F are taken as atom text, as internationalised headers write them. Errors are
// reported, never thrown.
class RFC2822Scanner {
  public:
    explicit RFC2822Scanner(std::string_view text) : s_(text) {}

    // The next mailbox of an address list, stepping over the "," before it and into or out
    // of groups ("Team: a@x, b@y;", "Undisclosed recipients:;"). False at the end of the
    // list (no error) or on a syntax error (`error` set, the position left where it broke).
    bool scanMailbox(RFC2822Mailbox& out, std::string* error);
    bool atEnd();

  private:
    void skipCFWS();
    bool skipComment(std::string* text);
    std::optional<std::string> scanAtom();
    std::optional<std::string> scanQuotedString();
    std::optional<std::string> scanWord();
    // Items joined by dots, with comments and folding space before each dot (and after it
    // when `spaceAfterDot`).
    std::optional<std::string> scanDotted(std::optional<std::string> (RFC2822Scanner::*scanItem)(),
                                          bool spaceAfterDot);
    std::optional<std::string> scanDotAtomOrWords();
    std::optional<std::string> scanDomain();
    bool scanAddrSpec(RFC2822Mailbox& out, std::string* error);
    bool scanAngleAddr(RFC2822Mailbox& out, std::string* error);
    bool fail(std::string* error, const std::string& message);
    bool peek(char c) const { return pos_ < s_.size() && s_[pos_] == c; }

    std::string_view s_;
    size_t pos_ = 0;
    bool inGroup_ = false;
    std::string lastComment_;
};

}  // namespace qb
