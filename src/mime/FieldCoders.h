// SPDX-License-Identifier: Apache-2.0
// Header field bodies for exported messages: subjects, dates, mailboxes and content
// parameters, written so that mail readers parse them back as they were.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/Address.h"
#include "platform/Date.h"

namespace qb {

// The body of an unstructured header field (Subject): the text as it is when it is plain
// ASCII, else RFC 2047 encoded words. Line breaks and other control characters become
// spaces, since a field body cannot hold them.
class EDTextFieldCoder {
  public:
    static EDTextFieldCoder encoderWithText(std::string_view text) {
        return EDTextFieldCoder(text);
    }
    std::string fieldBody() const;

  private:
    explicit EDTextFieldCoder(std::string_view text) : text_(text) {}
    std::string text_;
};

// The body of a date field: RFC 2822 date-time in UTC.
class EDDateFieldCoder {
  public:
    static EDDateFieldCoder encoderWithDate(Date date) { return EDDateFieldCoder(date); }
    std::string fieldBody() const { return formatRFC2822(date_); }

  private:
    explicit EDDateFieldCoder(Date date) : date_(date) {}
    Date date_;
};

// UTF-8 text as "=?utf-8?B?…?=" words of at most 56 characters, joined by spaces, never
// cutting a character.
std::string encodedWords(std::string_view utf8);

// One address as a mail reader parses it: "name <local@domain>", the name as an atom run,
// a quoted string or encoded words. An Exchange X.500 name gives way to the SMTP address
// the message holds for the person. Without any Internet address the name becomes an empty group, "name (x500 address):;", the only valid form
// for it. Nothing when the address has neither name nor address.
std::optional<std::string> mailboxFieldBody(const Address& address);

// A content parameter: name="value" for short printable ASCII, else RFC 2231 UTF-8 with
// continuations (name*0*=utf-8''…; name*1*=…) so that no piece outgrows a header line.
std::string headerParameter(std::string_view name, std::string_view value);

}  // namespace qb
