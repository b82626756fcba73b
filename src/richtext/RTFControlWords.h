// SPDX-License-Identifier: Apache-2.0
// The control words the RTF reader acts on, known by number: a document has hundreds of
// thousands of them, and one look-up names each instead of a string compare per word known.
#pragma once

#include <cstdint>
#include <string_view>

namespace qb {

// clang-format off
enum class RTFWord : uint8_t {
    Other,  // any word the reader passes over
    // Destinations.
    field, fonttbl, colortbl, pict, fldinst, fldrslt, pntext, listtext, NeXTGraphic, shppict,
    shprslt, shptxt, result, object, shp,
    // Destinations skipped whole even without "\*".
    SkippedDestination,
    // Characters.
    u, emdash, endash, bullet, lquote, rquote, ldblquote, rdblquote, emspace, enspace, qmspace,
    tab, line, zwj,
    // Paragraphs and tables.
    par, page, sect, cell, nestcell, row, nestrow, trowd, cellx, intbl, pard, ql, qr, qc, qj,
    li, ri, fi, sb, sa,
    // Character formatting.
    plain, f, fs, b, i, ul, ulnone, strike, v, super, sub, nosupersub, cf, cb, uc,
    // The document's code page and default font.
    ansicpg, mac, pc, pca, deff,
    // Colour table entries and picture references.
    red, green, blue, width, height,
};
// clang-format on

RTFWord rtfWord(std::string_view word);

// The character a character word stands for (\emdash, \tab…); 0 for other words.
char32_t characterOfRTFWord(RTFWord word);

}  // namespace qb
