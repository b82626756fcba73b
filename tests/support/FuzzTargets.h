// SPDX-License-Identifier: Apache-2.0
#pragma once

// The bodies of the fuzz targets, one function per target, so that the fuzzers and the test
// that replays their findings (tests/data/fuzz-regressions/<target>/) run the same code.
// Damaged input is never a failure: a body returns false only when a check of its own fails,
// which a fuzzer then reports as a crash.
#include <optional>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

namespace qb::fuzz {

bool fuzzTNEF(const Bytes& input);       // TNEF reader, then the walker
bool fuzzMsg(const Bytes& input);        // compound-file and .msg readers, then the walker
bool fuzzRTF(const Bytes& input);        // compressed RTF
bool fuzzRichText(const Bytes& input);   // RTF and HTML readers and writers
bool fuzzMailkit(const Bytes& input);    // the mail toolkit's decoders and parsers
bool fuzzFormats(const Bytes& input);    // file-format detection
bool fuzzExport(const Bytes& input);     // the exporters on whatever the readers make
bool fuzzRecords(const Bytes& input);    // one-off entry ids, packaged files
bool fuzzCalendar(const Bytes& input);   // stored time zones and recurrences, as iCalendar lines
bool fuzzVCF(const Bytes& input);        // distribution-list members and contact cards
bool fuzzMimeGlobs(const Bytes& input);  // the icons module's reading of the MIME data files
bool fuzzPDFPage(const Bytes& input);    // the PDF module's first-page picture
bool fuzzMime(const Bytes& input);        // MIME part trees read from data, their pages, and
                                          // the bodies of a signed entity

// Every target's name ("fuzz_tnef", ...), as the fuzz binaries and the findings' folders are
// called.
const std::vector<std::string_view>& targetNames();
// The body of the target called `name`; nothing for a name no target has.
std::optional<bool> runTarget(std::string_view name, const Bytes& input);

}  // namespace qb::fuzz
