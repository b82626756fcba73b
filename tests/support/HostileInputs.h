// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace qb::test {

// Small crafted inputs that make careless readers or exporters do huge work. Each takes a
// size, so that a test or the bench can run it at two sizes.

// A TNEF property list of `properties` multi-valued PT_NULL properties, each claiming
// 0xFFFFFFFF values.
std::string zeroSizeValueCounts(size_t properties);
// `records` attMAPIProps records, each claiming more properties than it holds and ending in
// a value that spans into the next record, so every list reads on through all that follow.
std::string propertyListsReadingOn(size_t records);
// A .msg whose `streams` property streams all share one chain of `chainBytes` bytes, its
// sectors out of order so that no stream is one run of the file.
std::string sharedSectorMsg(size_t streams, size_t chainBytes);
// TNEF messages nested `levels` deep (each the attached message of the one above), every
// sender called by a name of `senderNameLength` characters.
std::string nestedTNEF(size_t levels, size_t senderNameLength = 8);
// A .msg whose transport headers hold `names` distinct header names.
std::string manyHeaderNamesMsg(size_t names);
// TNEF with `count` small file attachments.
std::string manyAttachments(size_t count);
// A message whose compressed RTF body claims a decompressed size of 4 GB.
std::string hugeLZFuClaim();
// HTML body nested `depth` elements deep, with a marker word at the bottom.
std::string deepHTML(size_t depth);

// Damaged compound files.
std::string msgWithFATCycle();
std::string msgWithMiniFATCycle();
std::string msgWithDirectoryCycle();
std::string msgWithSectorShift30();

}  // namespace qb::test
