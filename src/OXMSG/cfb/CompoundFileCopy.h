// SPDX-License-Identifier: Apache-2.0
// A storage of a compound file read back as a tree to write again: how an OLE object that a
// .msg keeps as one of its storages becomes a file of its own.
#pragma once

#include <optional>

#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/CompoundFileWriter.h"

namespace qb {

// `storage` and everything below it, with the names and CLSIDs its directory holds; the
// storage's own CLSID becomes the root's. An entry reached a second time through damaged links
// is left out. Nothing when `storage` is a stream, when a stream cannot be read, when nesting
// passes kMaxCompoundFileDepth, or when the streams together hold more bytes than the whole
// input (entries of a damaged file sharing sectors would otherwise multiply it).
std::optional<CompoundFileNode> copyOfStorage(const CFBEntry& storage);

}  // namespace qb
