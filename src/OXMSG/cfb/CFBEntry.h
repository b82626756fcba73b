// SPDX-License-Identifier: Apache-2.0
// The compound file as a tree of entries: what the .msg reader, the model's embedded objects,
// format detection and the OLE exporters walk and read streams from.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "OXMSG/cfb/POLE.h"
#include "platform/Bytes.h"
#include "platform/Lazy.h"
#include "platform/ReadError.h"

namespace qb {

// One directory entry (the root, a storage or a stream) of a compound file held in memory.
// Every entry shares the root's storage, which keeps the input bytes alive.
class CFBEntry {
  public:
    // The root of the compound file in `data`; nothing when it is not one we can open, with
    // the reason and its offset in `why` (description and offset only: the caller knows its
    // domain). Warnings and budgets go to `report` (a new one for this input when null).
    static std::shared_ptr<CFBEntry> create(Bytes data,
                                            std::shared_ptr<ReadReport> report = nullptr,
                                            ReadError* why = nullptr);
    // Whether `data` starts with the compound-file signature.
    static bool hasSignature(const Bytes& data);
    CFBEntry(std::shared_ptr<const POLE::Storage> storage, const POLE::DirEntry* entry,
             std::string path)
        : storage_(std::move(storage)), entry_(entry), path_(std::move(path)) {}

    // The last component of the path; "/" for the root.
    std::string name() const;
    const std::string& path() const { return path_; }
    bool isDirectoryEntry() const { return entry_->dir; }
    bool isDocumentEntry() const { return !entry_->dir; }
    uint64_t length() const { return entry_->size; }
    // Where a stream's first byte lies in the file; nothing for a storage or an empty stream.
    std::optional<uint64_t> fileOffset() const;

    // Children in directory-tree order; none for a stream.
    const std::vector<std::shared_ptr<CFBEntry>>& entries() const;
    // The entry at `name` below this one (a name holding "/" reaches deeper); not kept.
    std::shared_ptr<CFBEntry> entry(const std::string& name) const;
    // A stream's bytes (a window onto the input where its sectors lie in one run); nothing
    // for a storage, a stream that cannot be opened (logged), or one whose copy would pass
    // the input's budget (a warning on the report).
    std::optional<Bytes> data() const;

    // "<CFBEntry: 0x…> { name = '…', directoryEntry = YES, length = 0}"
    std::string description() const;
    const POLE::Storage& storage() const { return *storage_; }
    // The directory entry this stands for: the same for every CFBEntry of one entry, so a
    // walk can tell when a damaged tree leads back to where it has been.
    const POLE::DirEntry* dirEntry() const { return entry_; }

  private:
    std::string childPath(const std::string& name) const;

    std::shared_ptr<const POLE::Storage> storage_;
    const POLE::DirEntry* entry_;
    std::string path_;
    Lazy<std::vector<std::shared_ptr<CFBEntry>>> entries_;
    Lazy<std::optional<Bytes>> data_;
};

}  // namespace qb
