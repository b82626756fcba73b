// SPDX-License-Identifier: Apache-2.0
// Finds an entry's 128 bytes by following the directory's sector chain again, and decodes
// the full UTF-16 name and the CLSID from them.
#include "OXMSG/cfb/DirectoryRecords.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <span>

#include "platform/StringEncoding.h"

namespace qb {

namespace {
constexpr size_t kEntrySize = 128;
}  // namespace

DirectoryRecords::DirectoryRecords(const POLE::Storage& storage) : storage_(storage) {
    if (storage.dirTree()) chain_ = storage.io().bbat.follow(storage.io().header.dirent_start);
}

std::optional<DirectoryRecord> DirectoryRecords::record(const POLE::DirEntry* entry) const {
    const POLE::DirTree* tree = storage_.dirTree();
    if (!tree || !entry) return std::nullopt;
    const auto found = tree->indexOf(entry);
    if (!found) return std::nullopt;
    const auto index = uint64_t(*found);

    const POLE::StorageIO& io = storage_.io();
    const uint64_t sectorSize = uint64_t(1) << io.header.b_shift;
    const uint64_t position = index * kEntrySize;
    if (position / sectorSize >= chain_.size()) return std::nullopt;
    const uint64_t sector = chain_[size_t(position / sectorSize)];
    std::array<uint8_t, kEntrySize> raw{};
    if (sector < io.bytes().size() / sectorSize) {
        const Bytes piece =
            io.bytes().slice(size_t((sector + 1) * sectorSize + position % sectorSize), kEntrySize);
        if (!piece.empty()) std::memcpy(raw.data(), piece.data(), piece.size());
    }

    DirectoryRecord record;
    // The length counts bytes with the terminating NUL; a name ends at its first NUL anyway.
    const size_t length = std::min<size_t>(size_t(raw[0x40] | raw[0x41] << 8), 64) & ~size_t(1);
    size_t end = 0;
    while (end + 1 < length && (raw[end] | raw[end + 1]) != 0)
        end += 2;
    record.name = utf16leToUTF8(std::span<const uint8_t>(raw).first(end));
    const auto clsid = std::span<const uint8_t>(raw).subspan(0x50, 16);
    std::copy(clsid.begin(), clsid.end(), record.clsid.begin());
    return record;
}

}  // namespace qb
