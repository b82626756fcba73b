// SPDX-License-Identifier: Apache-2.0
// The "\x01Ole10Native" stream of an OLE object: how Windows' Object Packager stores a
// whole file (its label, original path and bytes) inside a document or a message.
#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/StringEncoding.h"

namespace qb {

struct OLEPackage {
    std::string label;
    std::string originalPath;  // where the file was when it was packed
    std::string tempPath;
    Bytes data;  // a window onto the stream
};

// Reads a packaged file from the stream's bytes; nothing for another kind of native data
// or a stream cut short. The 8-bit names are text in `encoding`; the Unicode forms that
// newer packagers append replace them.
std::optional<OLEPackage> readOle10Native(const Bytes& stream,
                                          StringEncoding encoding = kWindowsCP1252Encoding);

// The name a packaged file should be saved under: the last component of its original path,
// else of its label, else of its temporary copy; a name whose extension differs from the
// temporary copy's is taken only when no other is left. Empty when all are.
std::string packageFilename(const OLEPackage& package);

}  // namespace qb
