// SPDX-License-Identifier: Apache-2.0
// What the directory reader leaves out of an entry, read again from its 128 bytes: the whole
// UTF-16 name (a leading control character included) and the CLSID. Copying a storage needs
// both to write it out as it was.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "OXMSG/cfb/CompoundFileWriter.h"
#include "OXMSG/cfb/POLE.h"

namespace qb {

struct DirectoryRecord {
    std::string name;  // UTF-8; unpaired surrogates replaced
    CLSID clsid{};
};

class DirectoryRecords {
  public:
    // `storage` must be open and outlive this.
    explicit DirectoryRecords(const POLE::Storage& storage);

    // The record of `entry`, one of the storage's own entries; nothing for any other pointer.
    // Bytes of the entry that lie past the end of the input read as zeros, as the reader
    // reads them.
    std::optional<DirectoryRecord> record(const POLE::DirEntry* entry) const;

  private:
    const POLE::Storage& storage_;
    std::vector<uint64_t> chain_;  // the directory's sectors
};

}  // namespace qb
