// SPDX-License-Identifier: Apache-2.0
// Content transfer encodings for the bodies the MIME builder writes.
#pragma once

#include <string>
#include <string_view>

#include "mime/MimeBody.h"

namespace qb {

// Base64 in lines of 76 characters joined by CR LF, no line break after the last.
std::string base64Body(std::string_view bytes);

// Every line break (CR LF, a lone CR or a lone LF) as CR LF, the canonical form of text.
std::string canonicalLineEnds(std::string_view text);

// Text that can travel as it is: no NUL, no bare CR or LF, lines of at most 998 bytes; the
// first form also asks for ASCII only.
bool isSevenBitClean(std::string_view bytes);
bool isEightBitClean(std::string_view bytes);
// The same for a body, read piece by piece.
bool isSevenBitClean(const MimeBody& body);
bool isEightBitClean(const MimeBody& body);

// Quoted-printable of bytes whose line breaks are CR LF: the breaks stay hard breaks, every
// other line is cut with soft breaks so that no line exceeds 76 characters, and white space
// at the end of a line is escaped.
std::string quotedPrintableBody(std::string_view bytes);

}  // namespace qb
