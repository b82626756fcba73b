// SPDX-License-Identifier: Apache-2.0
// Opening with the reason for a refusal, children and stream data made once and kept, and
// warnings for streams cut short or left unread.
#include "OXMSG/cfb/CFBEntry.h"

#include <fmt/format.h>

#include "platform/ContainerSignatures.h"
#include "platform/Log.h"

namespace qb {

namespace {

// A file cut short loses its last sectors; a real file may only end inside its last one.
void warnIfCutShort(const POLE::StorageIO& io) {
    const auto& fat = io.bbat.data;
    size_t last = fat.size();
    while (last > 0 && fat[last - 1] == POLE::kAvail)
        --last;
    if (last == 0) return;
    const uint64_t lastSectorStart = uint64_t(last) << io.header.b_shift;  // sector last - 1
    const uint64_t size = io.bytes().size();
    if (size > lastSectorStart) return;
    io.report()->warn(fmt::format("the file ends {} bytes before its last sector in use",
                                  lastSectorStart - size + 1),
                      size);
}

}  // namespace

std::shared_ptr<CFBEntry> CFBEntry::create(Bytes data, std::shared_ptr<ReadReport> report,
                                           ReadError* why) {
    auto storage = std::make_shared<POLE::Storage>(std::move(data), std::move(report));
    storage->open();
    auto fail = [why](const char* text, uint64_t offset) -> std::shared_ptr<CFBEntry> {
        if (why) {
            why->description = text;
            why->offset = offset;
        }
        return nullptr;
    };
    if (storage->result() == POLE::NotOLE) return fail("not a compound file", 0);
    if (storage->result() != POLE::Ok) return fail("the compound file's header is not valid", 0);
    const POLE::DirEntry* root = storage->dirTree()->entry("/");
    // A root that is no valid entry (a directory cut off or zeroed) holds nothing to read.
    if (!root || !root->valid) {
        const auto& header = storage->io().header;
        return fail("the compound file's directory has no valid root entry",
                    (header.dirent_start + 1) << header.b_shift);
    }
    warnIfCutShort(storage->io());
    return std::make_shared<CFBEntry>(std::move(storage), root, "/");
}

bool CFBEntry::hasSignature(const Bytes& data) {
    auto first = data.sub(0, kCompoundFileSignature.size());
    return first && first->view() == kCompoundFileSignatureBytes;
}

std::optional<uint64_t> CFBEntry::fileOffset() const {
    if (entry_->dir || entry_->size == 0) return std::nullopt;
    const POLE::StorageIO& io = storage_->io();
    const uint64_t bigShift = io.header.b_shift;
    if (io.usesBigBlocks(*entry_)) return (entry_->start + 1) << bigShift;
    // A small stream lies in the mini stream, itself a chain of big blocks.
    const uint64_t inMini = entry_->start << io.header.s_shift;
    const uint64_t block = inMini >> bigShift;
    if (block >= io.sb_blocks.size()) return std::nullopt;
    return ((io.sb_blocks[block] + 1) << bigShift) + (inMini & ((uint64_t(1) << bigShift) - 1));
}

std::string CFBEntry::name() const {
    if (path_ == "/") return path_;
    const size_t slash = path_.rfind('/');
    return slash == std::string::npos ? path_ : path_.substr(slash + 1);
}

std::string CFBEntry::childPath(const std::string& name) const {
    return path_ == "/" ? "/" + name : path_ + "/" + name;
}

const std::vector<std::shared_ptr<CFBEntry>>& CFBEntry::entries() const {
    return entries_.get([&] {
        std::vector<std::shared_ptr<CFBEntry>> entries;
        if (isDirectoryEntry()) {
            for (const POLE::DirEntry* child : storage_->dirEntries(path_))
                entries.push_back(
                    std::make_shared<CFBEntry>(storage_, child, childPath(child->name)));
        }
        return entries;
    });
}

std::shared_ptr<CFBEntry> CFBEntry::entry(const std::string& name) const {
    const std::string path = childPath(name);
    const POLE::DirEntry* e = storage_->dirTree()->entry(path);
    if (!e) return nullptr;
    return std::make_shared<CFBEntry>(storage_, e, path);
}

std::optional<Bytes> CFBEntry::data() const {
    if (!isDocumentEntry()) return std::nullopt;
    return data_.get([&]() -> std::optional<Bytes> {
        POLE::Stream stream(storage_.get(), path_);
        if (stream.fail()) {
            logf("failed to open POLE::Stream {}", path_);
            return std::nullopt;
        }
        auto data = storage_->io().streamData(*entry_);
        if (!data)
            storage_->io().report()->warn(
                fmt::format("stream {} not read: its sectors are shared with other streams "
                            "and copying them all would cost more than the file allows",
                            path_));
        // A file cut short, or a sector chain that ends early, leaves the stream shorter
        // than its directory entry says.
        else if (data->size() < entry_->size)
            storage_->io().report()->warn(
                fmt::format("stream {} breaks off after {} of its {} bytes", path_, data->size(),
                            entry_->size),
                fileOffset());
        return data;
    });
}

std::string CFBEntry::description() const {
    return fmt::format("<CFBEntry: {}> {{ name = '{}', directoryEntry = {}, length = {}}}",
                       fmt::ptr(this), name(), isDirectoryEntry() ? "YES" : "NO", length());
}

}  // namespace qb
