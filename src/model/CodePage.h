// SPDX-License-Identifier: Apache-2.0
// Which code page a message's 8-bit strings are in. Messages label them in several places,
// and the label most readers trust (the internet code page) names the charset the message
// travelled in, which is often a 7-bit one that cannot hold the stored bytes at all.
#pragma once

#include <cstdint>
#include <optional>

#include "model/MAPIProp.h"
#include "platform/StringEncoding.h"

namespace qb {

// The Windows ANSI code page of a locale id (LCID): 932 for Japanese, 1251 for Russian, …;
// 1252 for languages without a code page of their own.
uint32_t ansiCodePageForLocale(uint32_t localeId);

// The code page that 8-bit text labelled `codePage` really is in: a 7-bit or ISO form is
// replaced by its Windows counterpart (ISO-2022-JP → 932, KOI8-R → 1251, ISO-8859-1 and
// US-ASCII → 1252, as mail clients read them). Nothing for a label that cannot describe
// 8-bit text (UTF-16) or that we do not know.
std::optional<uint32_t> codePageFor8BitText(uint32_t codePage);

// The labels a message may carry, in the order they are trusted.
struct CodePageLabels {
    std::optional<uint32_t> messageCodePage;   // PR_MESSAGE_CODEPAGE
    std::optional<uint32_t> oemCodePage;       // TNEF attOemCodepage
    std::optional<uint32_t> localeId;          // PR_MESSAGE_LOCALE_ID
    std::optional<uint32_t> internetCodePage;  // PR_INTERNET_CPID
};

// The code page of the message's 8-bit strings: the first label that applies; UTF-8 only
// when `stringsAreUTF8`, else the locale's code page, else 1252.
uint32_t codePageOf8BitStrings(const CodePageLabels& labels, bool stringsAreUTF8);

// The same for a message's property list (and, for TNEF, its attOemCodepage), as an
// encoding. The UTF-8 test looks at the list's own 8-bit strings.
StringEncoding encodingOf8BitStrings(const MAPIPropList* props,
                                     std::optional<uint32_t> oemCodePage = std::nullopt);

}  // namespace qb
