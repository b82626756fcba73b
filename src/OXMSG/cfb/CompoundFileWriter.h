// SPDX-License-Identifier: Apache-2.0
// Writes compound files (OLE2 structured storage) from a tree of storages and streams. The
// exporters use it to hand out an OLE object that a .msg keeps as one of its own storages.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

namespace qb {

using CLSID = std::array<uint8_t, 16>;

// One storage or stream of a compound file to write.
struct CompoundFileNode {
    std::string name;  // UTF-8; the root's is not written ("Root Entry" always is)
    bool storage = false;
    CLSID clsid{};                           // storages only: streams carry none
    Bytes data;                              // streams only
    std::vector<CompoundFileNode> children;  // storages only

    static CompoundFileNode stream(std::string name, Bytes data) {
        return CompoundFileNode{std::move(name), false, {}, std::move(data), {}};
    }
    static CompoundFileNode storageOf(std::string name, std::vector<CompoundFileNode> children,
                                      CLSID clsid = {}) {
        return CompoundFileNode{std::move(name), true, clsid, {}, std::move(children)};
    }
};

// The order of siblings in a directory: the shorter name first; names of one length code unit
// by code unit, each upper-cased (simple case mapping). 0 means the names may not be siblings.
int compareDirectoryNames(std::u16string_view a, std::u16string_view b);

struct CompoundFileOptions {
    // 9 writes version 3 (512-byte sectors), 12 version 4 (4096-byte sectors).
    unsigned sectorShift = 9;
    // At least this many FAT sectors, the extra ones free: a small file that still needs DIFAT
    // sectors (more than 109 FAT sectors), for readers' tests.
    uint32_t minimumFATSectors = 0;
};

// Where the parts of a written file went, for tests that damage it on purpose.
struct CompoundFileLayout {
    uint32_t firstDirectorySector = 0;
    uint32_t firstFATSector = 0;
    size_t sectorSize = 512;
    // First sector of each stream kept outside the mini stream, in directory order.
    std::vector<uint32_t> bigStreamStarts;
};

// Deepest storage nesting written (a .msg nests two storages per embedded message); the
// directory walk recurses once per level.
inline constexpr size_t kMaxCompoundFileDepth = 512;

// The compound file holding `root` (its CLSID and children become the file's root entry's):
// streams under 4096 bytes in the mini stream, sibling trees as balanced red-black trees in
// directory order, DIFAT sectors once the FAT passes 109 sectors. Nothing when the tree cannot
// be written as it is (`whyNot` says why): an empty name, one longer than 31 UTF-16 code units,
// not UTF-8, or holding / \ : or !; siblings whose names compare equal; a stream of more than
// 2 GiB; nesting deeper than kMaxCompoundFileDepth.
[[nodiscard]] std::optional<Bytes> writeCompoundFile(const CompoundFileNode& root,
                                                     const CompoundFileOptions& options = {},
                                                     CompoundFileLayout* layout = nullptr,
                                                     std::string* whyNot = nullptr);

}  // namespace qb
