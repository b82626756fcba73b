#include "support/CompoundFileWriter.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "support/TNEFWriter.h"

namespace qb::test {

namespace {

constexpr uint32_t kFree = 0xFFFFFFFF, kEnd = 0xFFFFFFFE, kFATSect = 0xFFFFFFFD, kDIFSect = 0xFFFFFFFC;
constexpr uint32_t kNone = 0xFFFFFFFF;
constexpr size_t kMini = 64;
constexpr size_t kCutoff = 4096;

struct Entry {
    const CFNode* node;
    uint8_t type;  // 5 root, 1 storage, 2 stream
    uint32_t left = kNone, right = kNone, child = kNone;
    uint32_t start = kEnd;
    uint64_t size = 0;
};

bool lessName(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return a.size() < b.size();
    return a < b;
}

void put32(std::string& s, size_t off, uint32_t v) {
    for (int i = 0; i < 4; ++i) s[off + size_t(i)] = static_cast<char>(v >> (8 * i));
}
void put16(std::string& s, size_t off, uint16_t v) {
    s[off] = static_cast<char>(v);
    s[off + 1] = static_cast<char>(v >> 8);
}

}  // namespace

std::string CompoundFileWriter::write(const CFNode& root) const {
    const size_t ss = size_t(1) << shift_;
    const size_t perSector = ss / 4;

    // Directory entries, children as balanced trees ordered the way readers search them.
    std::vector<Entry> entries;
    std::function<uint32_t(const CFNode&, uint8_t)> add = [&](const CFNode& n, uint8_t type) {
        const uint32_t index = uint32_t(entries.size());
        entries.push_back(Entry{&n, type});
        if (!n.storage) return index;
        std::vector<const CFNode*> kids;
        for (const auto& c : n.children) kids.push_back(&c);
        std::sort(kids.begin(), kids.end(), [](auto* a, auto* b) { return lessName(a->name, b->name); });
        std::vector<uint32_t> ids;
        for (auto* k : kids) ids.push_back(add(*k, k->storage ? 1 : 2));
        std::function<uint32_t(size_t, size_t)> balance = [&](size_t lo, size_t hi) -> uint32_t {
            if (lo >= hi) return kNone;
            const size_t mid = (lo + hi) / 2;
            entries[ids[mid]].left = balance(lo, mid);
            entries[ids[mid]].right = balance(mid + 1, hi);
            return ids[mid];
        };
        entries[index].child = balance(0, ids.size());
        return index;
    };
    add(root, 5);

    // Mini stream and big streams.
    std::string miniStream;
    std::vector<uint32_t> miniFAT;
    std::vector<size_t> bigStreams;  // entry indices
    for (size_t i = 0; i < entries.size(); ++i) {
        Entry& e = entries[i];
        if (e.type != 2) continue;
        e.size = e.node->data.size();
        if (e.size == 0) continue;
        if (e.size < kCutoff) {
            const uint32_t first = uint32_t(miniStream.size() / kMini);
            const size_t sectors = (e.size + kMini - 1) / kMini;
            for (size_t k = 0; k < sectors; ++k) miniFAT.push_back(k + 1 < sectors ? first + uint32_t(k) + 1 : kEnd);
            e.start = first;
            miniStream += e.node->data;
            miniStream.resize(miniStream.size() + (kMini - miniStream.size() % kMini) % kMini, '\0');
        } else {
            bigStreams.push_back(i);
        }
    }
    auto sectorsFor = [&](size_t bytes) { return (bytes + ss - 1) / ss; };
    const size_t dirSectors = sectorsFor(entries.size() * 128);
    const size_t miniFATSectors = sectorsFor(miniFAT.size() * 4);
    const size_t miniStreamSectors = sectorsFor(miniStream.size());
    size_t bigSectors = 0;
    for (size_t i : bigStreams) bigSectors += sectorsFor(entries[i].size);
    const size_t others = dirSectors + miniFATSectors + miniStreamSectors + bigSectors;

    size_t fat = std::max<size_t>(1, minFAT_), difat = 0;
    for (;;) {
        const size_t total = others + fat + difat;
        const size_t needFAT = std::max<size_t>({size_t(minFAT_), (total + perSector - 1) / perSector, 1});
        const size_t needDIFAT = needFAT > 109 ? (needFAT - 109 + perSector - 2) / (perSector - 1) : 0;
        if (needFAT == fat && needDIFAT == difat) break;
        fat = needFAT;
        difat = needDIFAT;
    }
    const size_t total = others + fat + difat;

    // Sector plan: FAT, DIFAT, directory, mini FAT, mini stream, big streams.
    std::vector<uint32_t> table(fat * perSector, kFree);
    uint32_t next = 0;
    std::vector<uint32_t> fatSectors, difatSectors;
    for (size_t i = 0; i < fat; ++i) {
        fatSectors.push_back(next);
        table[next++] = kFATSect;
    }
    for (size_t i = 0; i < difat; ++i) {
        difatSectors.push_back(next);
        table[next++] = kDIFSect;
    }
    auto chain = [&](size_t count) -> uint32_t {
        if (count == 0) return kEnd;
        const uint32_t first = next;
        for (size_t k = 0; k < count; ++k, ++next) table[next] = k + 1 < count ? next + 1 : kEnd;
        return first;
    };
    const uint32_t dirStart = chain(dirSectors);
    const uint32_t miniFATStart = chain(miniFATSectors);
    const uint32_t miniStreamStart = chain(miniStreamSectors);
    layout_ = Layout{dirStart, fatSectors.empty() ? 0 : fatSectors[0], ss, {}};
    for (size_t i : bigStreams) {
        entries[i].start = chain(sectorsFor(entries[i].size));
        layout_.bigStreamStarts.push_back(entries[i].start);
    }
    entries[0].start = miniStream.empty() ? kEnd : miniStreamStart;
    entries[0].size = miniStream.size();
    (void)total;

    std::string file(ss * (1 + total), '\0');
    // Header.
    const uint8_t sig[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    std::memcpy(file.data(), sig, 8);
    put16(file, 0x18, 0x3E);
    put16(file, 0x1A, shift_ == 12 ? 4 : 3);
    put16(file, 0x1C, 0xFFFE);
    put16(file, 0x1E, uint16_t(shift_));
    put16(file, 0x20, 6);
    put32(file, 0x28, shift_ == 12 ? uint32_t(dirSectors) : 0);
    put32(file, 0x2C, uint32_t(fat));
    put32(file, 0x30, dirStart);
    put32(file, 0x38, uint32_t(kCutoff));
    put32(file, 0x3C, miniFATSectors ? miniFATStart : kEnd);
    put32(file, 0x40, uint32_t(miniFATSectors));
    put32(file, 0x44, difat ? difatSectors[0] : kEnd);
    put32(file, 0x48, uint32_t(difat));
    for (size_t i = 0; i < 109; ++i) put32(file, 0x4C + 4 * i, i < fat ? fatSectors[i] : kFree);
    // DIFAT sectors: FAT sector numbers, the last slot pointing on.
    for (size_t d = 0, k = 109; d < difat; ++d) {
        const size_t base = sectorOffset(difatSectors[d], ss);
        for (size_t slot = 0; slot + 1 < perSector; ++slot, ++k)
            put32(file, base + slot * 4, k < fat ? fatSectors[k] : kFree);
        put32(file, base + (perSector - 1) * 4, d + 1 < difat ? difatSectors[d + 1] : kEnd);
    }
    for (size_t i = 0; i < fat; ++i)
        for (size_t k = 0; k < perSector; ++k)
            put32(file, sectorOffset(fatSectors[i], ss) + k * 4, table[i * perSector + k]);
    // Directory.
    for (size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        const size_t off = sectorOffset(dirStart, ss) + i * 128;
        const std::string name = i == 0 ? "Root Entry" : e.node->name;
        const std::string utf16 = utf16le(name.substr(0, 31));
        std::memcpy(file.data() + off, utf16.data(), utf16.size());
        put16(file, off + 0x40, uint16_t(utf16.size()));
        file[off + 0x42] = static_cast<char>(e.type);
        file[off + 0x43] = 1;
        put32(file, off + 0x44, e.left);
        put32(file, off + 0x48, e.right);
        put32(file, off + 0x4C, e.child);
        put32(file, off + 0x74, e.type == 1 ? 0 : e.start);
        put32(file, off + 0x78, uint32_t(e.size));
    }
    for (size_t i = entries.size(); i < dirSectors * ss / 128; ++i) {
        const size_t off = sectorOffset(dirStart, ss) + i * 128;
        put32(file, off + 0x44, kNone);
        put32(file, off + 0x48, kNone);
        put32(file, off + 0x4C, kNone);
    }
    for (size_t k = 0; k < miniFAT.size(); ++k) put32(file, sectorOffset(miniFATStart, ss) + k * 4, miniFAT[k]);
    for (size_t k = miniFAT.size(); k < miniFATSectors * perSector; ++k)
        put32(file, sectorOffset(miniFATStart, ss) + k * 4, kFree);
    if (!miniStream.empty()) std::memcpy(file.data() + sectorOffset(miniStreamStart, ss), miniStream.data(), miniStream.size());
    for (size_t i : bigStreams)
        std::memcpy(file.data() + sectorOffset(entries[i].start, ss), entries[i].node->data.data(), entries[i].size);

    if (trim_) {
        // Cut the unused tail of the last sector.
        size_t end = file.size();
        while (end > 0 && file[end - 1] == '\0' && end > file.size() - ss + 1) --end;
        file.resize(end);
    }
    return file;
}

}  // namespace qb::test
