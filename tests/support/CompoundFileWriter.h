#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qb::test {

// One node of a compound file to write: a storage with children, or a stream with bytes.
struct CFNode {
    std::string name;
    bool storage = false;
    std::string data;
    std::vector<CFNode> children;

    static CFNode stream(std::string name, std::string data) {
        return CFNode{std::move(name), false, std::move(data), {}};
    }
    static CFNode dir(std::string name, std::vector<CFNode> children = {}) {
        return CFNode{std::move(name), true, {}, std::move(children)};
    }
};

// Writes compound files for tests: 512- or 4096-byte sectors, a mini stream for streams
// under 4096 bytes, DIFAT sectors when the FAT needs more than 109 sectors, and balanced
// sibling trees. The knobs below make damaged files on purpose.
class CompoundFileWriter {
public:
    explicit CompoundFileWriter(unsigned sectorShift = 9) : shift_(sectorShift) {}

    // At least this many FAT sectors (extra ones are free), to force DIFAT sectors.
    CompoundFileWriter& minimumFATSectors(uint32_t n) {
        minFAT_ = n;
        return *this;
    }
    // Leave the last sector cut short, as many real files do.
    CompoundFileWriter& trimLastSector(bool trim = true) {
        trim_ = trim;
        return *this;
    }

    std::string write(const CFNode& root) const;

    // Where things went in the last file written (for tests that damage it).
    struct Layout {
        uint32_t firstDirectorySector = 0;
        uint32_t firstFATSector = 0;
        size_t sectorSize = 512;
        std::vector<uint32_t> bigStreamStarts;  // in writing order
    };
    const Layout& layout() const { return layout_; }

private:
    unsigned shift_;
    uint32_t minFAT_ = 0;
    bool trim_ = false;
    mutable Layout layout_;
};

// Offset in the file of sector `sector`.
inline size_t sectorOffset(uint32_t sector, size_t sectorSize) { return (size_t(sector) + 1) * sectorSize; }

}  // namespace qb::test
