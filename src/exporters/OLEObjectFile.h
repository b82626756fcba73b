// SPDX-License-Identifier: Apache-2.0
// The file an attachment that is an embedded OLE object stands for, when the object keeps
// no "CONTENTS" stream of its own.
#pragma once

#include <optional>
#include <string>

#include "tnef/TNEFAttachment.h"

namespace qb {

struct OLEObjectFile {
    Bytes data;
    std::string filename;  // empty when the object names none
};

// In this order: the file packed in its "\x01Ole10Native" stream (named after its original
// path), its "Package" stream, or the whole storage as a compound file: as it is when it is one
// on its own (as TNEF carries them), copied into a new one when it lies inside a .msg. Nothing
// when PR_ATTACH_DATA_OBJ is no storage, or a storage that cannot be copied.
std::optional<OLEObjectFile> fileOfOLEObject(const TNEFAttachment& attachment);

}  // namespace qb
