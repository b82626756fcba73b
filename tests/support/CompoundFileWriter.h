// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "OXMSG/cfb/CompoundFileWriter.h"

namespace qb::test {

// One node of a compound file to write: a storage with children, or a stream with bytes.
struct CFNode {
    std::string name;
    bool storage = false;
    std::string data;
    std::vector<CFNode> children;
    CLSID clsid{};  // storages only

    static CFNode stream(std::string name, std::string data) {
        return CFNode{std::move(name), false, std::move(data), {}, {}};
    }
    static CFNode dir(std::string name, std::vector<CFNode> children = {}, CLSID clsid = {}) {
        return CFNode{std::move(name), true, {}, std::move(children), clsid};
    }
};

// Writes compound files for tests through the library's writer (512- or 4096-byte sectors),
// with knobs that make unusual or damaged files on purpose. Throws when the library cannot
// write the tree (a test that builds a bad tree has a bug).
class CompoundFileWriter {
  public:
    explicit CompoundFileWriter(unsigned sectorShift = 9) { options_.sectorShift = sectorShift; }

    // At least this many FAT sectors (extra ones are free), to force DIFAT sectors.
    CompoundFileWriter& minimumFATSectors(uint32_t n) {
        options_.minimumFATSectors = n;
        return *this;
    }
    // Leave the last sector cut short, as many real files do.
    CompoundFileWriter& trimLastSector(bool trim = true) {
        trim_ = trim;
        return *this;
    }

    std::string write(const CFNode& root) const;

    // Where things went in the last file written (for tests that damage it).
    using Layout = CompoundFileLayout;
    const Layout& layout() const { return layout_; }

  private:
    CompoundFileOptions options_;
    bool trim_ = false;
    mutable Layout layout_;
};

// The library's node for a test node.
CompoundFileNode compoundFileNode(const CFNode& node);

// Offset in the file of sector `sector`.
inline size_t sectorOffset(uint32_t sector, size_t sectorSize) {
    return (size_t(sector) + 1) * sectorSize;
}

}  // namespace qb::test
