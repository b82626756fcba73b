// SPDX-License-Identifier: Apache-2.0
// The compound-file writer: directory entries numbered in tree order, then one pass that lays
// out every sector (FAT, DIFAT, directory, mini FAT, mini stream, big streams) in that order.
#include "OXMSG/cfb/CompoundFileWriter.h"
#include "platform/ContainerSignatures.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include <fmt/format.h>

#include "platform/StringEncoding.h"

namespace qb {

namespace {

constexpr uint32_t kFreeSector = 0xFFFFFFFF;
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFATSector = 0xFFFFFFFD;
constexpr uint32_t kDIFATSector = 0xFFFFFFFC;
constexpr uint32_t kMaxRegularSector = 0xFFFFFFFA;
constexpr uint32_t kNoStream = 0xFFFFFFFF;
constexpr uint32_t kMaxRegularStreamID = 0xFFFFFFFA;
constexpr size_t kHeaderFATSlots = 109;
constexpr size_t kEntrySize = 128;
constexpr size_t kMiniSectorSize = 64;
constexpr uint64_t kMiniStreamCutoff = 4096;
constexpr uint64_t kMaxStreamSize = 0x80000000;  // what a version 3 size field may hold
constexpr size_t kMaxNameUnits = 31;             // 32 with the terminating NUL
constexpr uint8_t kStorage = 1, kStream = 2, kRoot = 5;
constexpr uint8_t kRed = 0, kBlack = 1;

char16_t upperCased(char16_t c) {
    // A surrogate on its own has no case; it is compared as it is.
    if (c >= 0xD800 && c <= 0xDFFF) return c;
    const UChar32 u = u_toupper(c);
    return u <= 0xFFFF ? char16_t(u) : c;
}

std::optional<std::u16string> utf16Name(std::string_view utf8) {
    if (!isValidUTF8(utf8)) return std::nullopt;
    const std::string le = utf8ToUTF16LE(utf8);
    std::u16string name(le.size() / 2, u'\0');
    for (size_t i = 0; i < name.size(); ++i)
        name[i] = char16_t(uint8_t(le[2 * i]) | uint8_t(le[2 * i + 1]) << 8);
    return name;
}

size_t sectorsFor(uint64_t bytes, size_t sectorSize) {
    return size_t((bytes + sectorSize - 1) / sectorSize);
}

class Writer {
  public:
    explicit Writer(const CompoundFileOptions& options) : options_(options) {}

    bool collect(const CompoundFileNode& root) {
        return add(root, kRoot, u"Root Entry", 0).has_value();
    }
    std::optional<Bytes> write(CompoundFileLayout* layout);
    const std::string& error() const { return error_; }

  private:
    struct Entry {
        const CompoundFileNode* node;
        std::u16string name;
        uint8_t type;
        uint8_t color = kBlack;
        uint32_t left = kNoStream, right = kNoStream, child = kNoStream;
        uint32_t start = kEndOfChain;
        uint64_t size = 0;
    };

    std::nullopt_t fail(std::string why) {
        if (error_.empty()) error_ = std::move(why);
        return std::nullopt;
    }
    std::optional<uint32_t> add(const CompoundFileNode& node, uint8_t type, std::u16string name,
                                size_t depth);
    uint32_t link(const std::vector<uint32_t>& ids, size_t lo, size_t hi, size_t depth,
                  size_t redDepth);

    CompoundFileOptions options_;
    std::vector<Entry> entries_;
    std::string error_;
};

std::optional<uint32_t> Writer::add(const CompoundFileNode& node, uint8_t type, std::u16string name,
                                    size_t depth) {
    if (entries_.size() >= kMaxRegularStreamID) return fail("too many directory entries");
    const auto index = uint32_t(entries_.size());
    entries_.push_back(Entry{&node, std::move(name), type});
    if (type == kStream) {
        if (node.data.size() > kMaxStreamSize)
            return fail(fmt::format("stream '{}' is larger than 2 GiB", node.name));
        entries_[index].size = node.data.size();
        return index;
    }
    if (depth > kMaxCompoundFileDepth)
        return fail(fmt::format("storages nested deeper than {} levels", kMaxCompoundFileDepth));

    std::vector<std::pair<std::u16string, const CompoundFileNode*>> children;
    for (const CompoundFileNode& child : node.children) {
        auto utf16 = utf16Name(child.name);
        if (!utf16) return fail("a name that is not UTF-8");
        if (utf16->empty() || utf16->size() > kMaxNameUnits)
            return fail(fmt::format("name '{}' is empty or longer than {} UTF-16 units", child.name,
                                    kMaxNameUnits));
        if (utf16->find_first_of(u"/\\:!") != std::u16string::npos)
            return fail(fmt::format("name '{}' holds one of / \\ : !", child.name));
        children.emplace_back(std::move(*utf16), &child);
    }
    std::sort(children.begin(), children.end(), [](const auto& a, const auto& b) {
        return compareDirectoryNames(a.first, b.first) < 0;
    });
    for (size_t i = 1; i < children.size(); ++i)
        if (compareDirectoryNames(children[i - 1].first, children[i].first) == 0)
            return fail(
                fmt::format("two entries called '{}' in one storage", children[i].second->name));

    std::vector<uint32_t> ids;
    ids.reserve(children.size());
    for (auto& [childName, child] : children) {
        auto id = add(*child, child->storage ? kStorage : kStream, std::move(childName), depth + 1);
        if (!id) return std::nullopt;
        ids.push_back(*id);
    }
    // Split at the middle, every level but the last is full: that last level red and the
    // rest black gives every path the same number of black nodes and no red node a red child.
    const size_t fullLevels = size_t(std::bit_width(ids.size() + 1)) - 1;
    entries_[index].child = link(ids, 0, ids.size(), 0, fullLevels);
    return index;
}

uint32_t Writer::link(const std::vector<uint32_t>& ids, size_t lo, size_t hi, size_t depth,
                      size_t redDepth) {
    if (lo >= hi) return kNoStream;
    const size_t mid = lo + (hi - lo) / 2;
    const uint32_t id = ids[mid];
    entries_[id].color = depth == redDepth ? kRed : kBlack;
    entries_[id].left = link(ids, lo, mid, depth + 1, redDepth);
    entries_[id].right = link(ids, mid + 1, hi, depth + 1, redDepth);
    return id;
}

void put16(std::vector<uint8_t>& out, size_t at, uint16_t v) {
    out[at] = uint8_t(v);
    out[at + 1] = uint8_t(v >> 8);
}
void put32(std::vector<uint8_t>& out, size_t at, uint32_t v) {
    for (size_t i = 0; i < 4; ++i)
        out[at + i] = uint8_t(v >> (8 * i));
}
void put64(std::vector<uint8_t>& out, size_t at, uint64_t v) {
    for (size_t i = 0; i < 8; ++i)
        out[at + i] = uint8_t(v >> (8 * i));
}

std::optional<Bytes> Writer::write(CompoundFileLayout* layout) {
    const size_t ss = size_t(1) << options_.sectorShift;
    const size_t perSector = ss / 4;
    auto sectorOffset = [&](uint32_t sector) { return (size_t(sector) + 1) * ss; };

    // Streams under the cutoff go to the mini stream, one chain of 64-byte sectors each.
    std::vector<uint32_t> miniFAT;
    std::vector<size_t> bigStreams;
    for (size_t i = 0; i < entries_.size(); ++i) {
        Entry& e = entries_[i];
        if (e.type != kStream || e.size == 0) continue;
        if (e.size >= kMiniStreamCutoff) {
            bigStreams.push_back(i);
            continue;
        }
        const auto first = uint32_t(miniFAT.size());
        const size_t count = sectorsFor(e.size, kMiniSectorSize);
        for (size_t k = 1; k < count; ++k)
            miniFAT.push_back(first + uint32_t(k));
        miniFAT.push_back(kEndOfChain);
        e.start = first;
    }
    const size_t dirSectors = sectorsFor(entries_.size() * kEntrySize, ss);
    const size_t miniFATSectors = sectorsFor(miniFAT.size() * 4, ss);
    const uint64_t miniStreamSize = miniFAT.size() * kMiniSectorSize;
    const size_t miniStreamSectors = sectorsFor(miniStreamSize, ss);
    uint64_t others = dirSectors + miniFATSectors + miniStreamSectors;
    for (size_t i : bigStreams)
        others += sectorsFor(entries_[i].size, ss);

    // The FAT covers every sector including its own and the DIFAT's; grow both until they do.
    uint64_t fat = std::max<uint64_t>(1, options_.minimumFATSectors), difat = 0;
    for (;;) {
        const uint64_t needFAT = std::max<uint64_t>(
            {1, options_.minimumFATSectors, (others + fat + difat + perSector - 1) / perSector});
        const uint64_t needDIFAT =
            needFAT > kHeaderFATSlots
                ? (needFAT - kHeaderFATSlots + perSector - 2) / (perSector - 1)
                : 0;
        if (needFAT == fat && needDIFAT == difat) break;
        fat = needFAT;
        difat = needDIFAT;
    }
    const uint64_t total = others + fat + difat;
    if (total > kMaxRegularSector || (total + 1) > SIZE_MAX / ss)
        return fail("more sectors than a compound file can number");

    std::vector<uint32_t> table(size_t(fat) * perSector, kFreeSector);
    uint32_t next = 0;
    std::vector<uint32_t> fatSectors, difatSectors;
    for (uint64_t i = 0; i < fat; ++i) {
        fatSectors.push_back(next);
        table[next++] = kFATSector;
    }
    for (uint64_t i = 0; i < difat; ++i) {
        difatSectors.push_back(next);
        table[next++] = kDIFATSector;
    }
    auto chain = [&](size_t count) -> uint32_t {
        if (count == 0) return kEndOfChain;
        const uint32_t first = next;
        for (size_t k = 0; k < count; ++k, ++next)
            table[next] = k + 1 < count ? next + 1 : kEndOfChain;
        return first;
    };
    const uint32_t dirStart = chain(dirSectors);
    const uint32_t miniFATStart = chain(miniFATSectors);
    const uint32_t miniStreamStart = chain(miniStreamSectors);
    for (size_t i : bigStreams)
        entries_[i].start = chain(sectorsFor(entries_[i].size, ss));
    entries_[0].start = miniStreamSectors ? miniStreamStart : kEndOfChain;
    entries_[0].size = miniStreamSize;
    if (layout) {
        *layout = CompoundFileLayout{dirStart, fatSectors.front(), ss, {}};
        for (size_t i : bigStreams)
            layout->bigStreamStarts.push_back(entries_[i].start);
    }

    std::vector<uint8_t> out(size_t(total + 1) * ss, 0);
    std::copy(kCompoundFileSignature.begin(), kCompoundFileSignature.end(), out.begin());
    put16(out, 0x18, 0x3E);  // minor version
    put16(out, 0x1A, options_.sectorShift == 12 ? 4 : 3);
    put16(out, 0x1C, 0xFFFE);  // little-endian
    put16(out, 0x1E, uint16_t(options_.sectorShift));
    put16(out, 0x20, 6);  // 64-byte mini sectors
    // Version 3 files leave the directory's sector count at zero.
    put32(out, 0x28, options_.sectorShift == 12 ? uint32_t(dirSectors) : 0);
    put32(out, 0x2C, uint32_t(fat));
    put32(out, 0x30, dirStart);
    put32(out, 0x38, uint32_t(kMiniStreamCutoff));
    put32(out, 0x3C, miniFATStart);
    put32(out, 0x40, uint32_t(miniFATSectors));
    put32(out, 0x44, difat ? difatSectors.front() : kEndOfChain);
    put32(out, 0x48, uint32_t(difat));
    for (size_t i = 0; i < kHeaderFATSlots; ++i)
        put32(out, 0x4C + 4 * i, i < fat ? fatSectors[i] : kFreeSector);
    // Each DIFAT sector lists FAT sectors and, in its last slot, the next DIFAT sector.
    for (size_t d = 0, k = kHeaderFATSlots; d < difat; ++d) {
        const size_t base = sectorOffset(difatSectors[d]);
        for (size_t slot = 0; slot + 1 < perSector; ++slot, ++k)
            put32(out, base + 4 * slot, k < fat ? fatSectors[k] : kFreeSector);
        put32(out, base + 4 * (perSector - 1), d + 1 < difat ? difatSectors[d + 1] : kEndOfChain);
    }
    for (size_t i = 0; i < table.size(); ++i)
        put32(out, sectorOffset(fatSectors[i / perSector]) + 4 * (i % perSector), table[i]);

    for (size_t i = 0; i < dirSectors * ss / kEntrySize; ++i) {
        const size_t at = sectorOffset(dirStart) + i * kEntrySize;
        if (i >= entries_.size()) {  // an unused slot links nowhere
            for (size_t link : {0x44, 0x48, 0x4C})
                put32(out, at + link, kNoStream);
            continue;
        }
        const Entry& e = entries_[i];
        for (size_t c = 0; c < e.name.size(); ++c)
            put16(out, at + 2 * c, e.name[c]);
        put16(out, at + 0x40, uint16_t((e.name.size() + 1) * 2));
        out[at + 0x42] = e.type;
        out[at + 0x43] = e.color;
        put32(out, at + 0x44, e.left);
        put32(out, at + 0x48, e.right);
        put32(out, at + 0x4C, e.child);
        if (e.type != kStream)
            std::copy(e.node->clsid.begin(), e.node->clsid.end(),
                      out.begin() + std::ptrdiff_t(at + 0x50));
        if (e.type != kStorage) {
            put32(out, at + 0x74, e.start);
            put64(out, at + 0x78, e.size);
        }
    }
    for (size_t k = 0; k < miniFATSectors * perSector; ++k)
        put32(out, sectorOffset(miniFATStart) + 4 * k,
              k < miniFAT.size() ? miniFAT[k] : kFreeSector);
    // The mini stream's sectors are one run, so a mini sector is found by plain arithmetic.
    for (const Entry& e : entries_) {
        if (e.type != kStream || e.size == 0) continue;
        const size_t at = e.size < kMiniStreamCutoff
                              ? sectorOffset(miniStreamStart) + size_t(e.start) * kMiniSectorSize
                              : sectorOffset(e.start);
        std::copy_n(e.node->data.begin(), size_t(e.size), out.begin() + std::ptrdiff_t(at));
    }
    return Bytes::adopt(std::move(out));
}

}  // namespace

int compareDirectoryNames(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (size_t i = 0; i < a.size(); ++i) {
        const char16_t x = upperCased(a[i]), y = upperCased(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

std::optional<Bytes> writeCompoundFile(const CompoundFileNode& root,
                                       const CompoundFileOptions& options,
                                       CompoundFileLayout* layout, std::string* whyNot) {
    if (options.sectorShift != 9 && options.sectorShift != 12) {
        if (whyNot) *whyNot = "sectors are 512 or 4096 bytes";
        return std::nullopt;
    }
    Writer writer(options);
    std::optional<Bytes> file;
    if (writer.collect(root)) file = writer.write(layout);
    if (!file && whyNot) *whyNot = writer.error();
    return file;
}

}  // namespace qb
