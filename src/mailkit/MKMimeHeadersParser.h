// SPDX-License-Identifier: Apache-2.0
// Reading header blocks back: the .msg reader takes a message's transport headers through
// this for its addresses and decoded values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mailkit/MKEmailAddress.h"
#include "mailkit/MKMimeHeaders.h"

namespace qb {

// Reads a header block into a header set: continuation lines (starting with a space or a
// tab) are joined to their field, names are kept as written and values as written (CR LF
// removed, folding white space kept). Tolerates CR LF or bare LF, a first line that is a
// boundary delimiter or other garbage, and 8-bit bytes (read as Windows-1252 when they are
// not UTF-8). The block ends at the first empty line.
class MKMimeHeadersParser {
public:
    static MKMimeHeaders parse(std::string_view block);
};

// The headers of one message, for the fields readers need: address lists with decoded
// display names, and decoded text values.
class MKMessageHeaders {
public:
    explicit MKMessageHeaders(std::string_view headerString);

    // The mailboxes of every field of that name (ignoring case), in header order; nothing
    // when the message has no such field.
    std::optional<std::vector<MKEmailAddress>> addressListForKey(std::string_view key) const;
    // The first value of the field with encoded words decoded.
    std::optional<std::string> headerForKey(std::string_view key) const;
    const MKMimeHeaders& headers() const { return headers_; }

private:
    MKMimeHeaders headers_;
};

}  // namespace qb
