// SPDX-License-Identifier: Apache-2.0
// The text codings of mail: encoded words, quoted-printable and percent escapes, with the
// choice of charset. Header writing and parsing build on it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/StringEncoding.h"

namespace qb {

// Lower-case IANA name of an encoding ("utf-8"); nothing for one without a name.
std::optional<std::string> MKcharSetNameForEncoding(StringEncoding encoding);
// Any IANA name or alias, any case; kInvalidEncoding when unknown.
StringEncoding MKencodingForCharSetName(std::string_view name);

// The first of: `preferred`, ISO-8859-2, UTF-8, UTF-16 that holds the whole text; 0 if none.
StringEncoding chooseOutputEncoding(std::string_view utf8, StringEncoding preferred);

// The Q payload of an encoded word (without its "=?charset?Q?" wrapper); nothing when no
// encoding holds the text. `used` receives the encoding chosen, 0 on failure.
std::optional<std::string> qEncodedStringWithString(std::string_view utf8, StringEncoding preferred,
                                                    StringEncoding* used = nullptr);
// "=?charset?E?payload?=": every encoded word the library writes is put together here.
std::string encodedWord(std::string_view charset, char encoding, std::string_view payload);
// UTF-8 text as "=?utf-8?B?…?=" words of at most `maxBytes` bytes of text each, joined by
// spaces, never cutting a character.
std::string base64EncodedWords(std::string_view utf8, size_t maxBytes);

// One complete encoded word: a Q-word labelled utf-8, iso-8859-1, iso-8859-2 or utf-16,
// otherwise the UTF-8 B-word. Never split, whatever its length.
std::string mimeWordWithString(std::string_view utf8, StringEncoding preferred,
                               StringEncoding* used = nullptr);

// One encoded word decoded to text, or its raw bytes; nothing when it is malformed, names
// an unknown charset or (text form) its bytes are not valid in that charset.
std::optional<std::string> stringWithMimeEncodedWord(std::string_view word);
std::optional<std::string> dataForMimeEncodedWord(std::string_view word,
                                                  StringEncoding* usedEncoding = nullptr);
// A header value with every encoded word decoded; broken words are dropped, adjacent words
// of one charset are joined before decoding.
std::string decodedMimeEncodedString(std::string_view value);

// How a quoted-printable encoder writes: which bytes stay as they are, where lines are cut.
// CR LF in the input is always a hard line break; a literal at column 75 or later, and an
// escape at `escapeColumn` or later, go to the next line after a soft break ("=" CR LF), so
// no line passes 76 characters and no escape is cut.
struct QuotedPrintableRules {
    bool (*literal)(unsigned char c);
    size_t escapeColumn;
    bool escapeSpaceAtLineEnd;  // a space or tab before a CR or at the end is escaped
    bool dropCharBeforeBreak;   // the toolkit's body rule: the character before CR LF goes
    bool markTrailingSpace;     // "=" after a space that ends the text
};
// The one quoted-printable encoder.
std::string encodeQuotedPrintable(std::string_view bytes, const QuotedPrintableRules& rules);

// A body as quoted-printable with CR LF line ends and lines of at most 76 characters.
std::optional<std::string> quotedPrintableStringForPlainTextBody(std::string_view utf8,
                                                                 StringEncoding preferred,
                                                                 StringEncoding* used = nullptr);
// Quoted-printable bytes decoded as text in `encoding`; the first form also decodes HTML
// entities, the second escapes the result for HTML, the third for ASCII HTML content.
// Nothing when the bytes or an escape do not decode.
std::optional<std::string> stringFromQuotedPrintableString(std::string_view bytes,
                                                           StringEncoding encoding);
std::optional<std::string> htmlEncodedStringFromQuotedPrintableString(std::string_view bytes,
                                                                      StringEncoding encoding);
std::optional<std::string> decodedQuotedPrintableString(std::string_view bytes,
                                                        StringEncoding encoding);

// Quoted-printable bytes decoded to bytes, for bodies of any charset: soft breaks ("=" at a
// line end, CR LF or LF) vanish and each "=XY" (either case) becomes its byte; an "=" that
// starts no escape is kept as it stands.
std::string quotedPrintableDecodedBytes(std::string_view bytes);

// URL percent-escaping of the text's bytes in `encoding`: letters, digits and
// -_.!~*'();/?:@&=+$,# stay, every other byte becomes %XX. Nothing when the text does not
// convert.
std::optional<std::string> stringByAddingPercentEscapes(std::string_view utf8,
                                                        StringEncoding encoding);
// Each run of %XX escapes becomes its bytes read in `encoding`; nothing for a "%" without
// two hex digits or bytes that do not decode.
std::optional<std::string> stringByReplacingPercentEscapes(std::string_view text,
                                                           StringEncoding encoding);

}  // namespace qb
