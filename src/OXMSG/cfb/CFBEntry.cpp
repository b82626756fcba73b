#include "OXMSG/cfb/CFBEntry.h"

#include <fmt/format.h>

#include "platform/Log.h"

namespace qb {

std::shared_ptr<CFBEntry> CFBEntry::create(Bytes data, std::shared_ptr<ReadReport> report) {
    auto storage = std::make_shared<POLE::Storage>(std::move(data), std::move(report));
    storage->open(false, false);
    if (storage->result() != POLE::Ok) return nullptr;
    const POLE::DirEntry* root = storage->dirTree()->entry("/");
    // A root that is no valid entry (a directory cut off or zeroed) holds nothing to read.
    if (!root || !root->valid) return nullptr;
    return std::make_shared<CFBEntry>(std::move(storage), root, "/");
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
    std::lock_guard lock(mutex_);
    if (!entries_) {
        entries_.emplace();
        if (isDirectoryEntry()) {
            for (const POLE::DirEntry* child : storage_->dirEntries(path_))
                entries_->push_back(
                    std::make_shared<CFBEntry>(storage_, child, childPath(child->name)));
        }
    }
    return *entries_;
}

std::shared_ptr<CFBEntry> CFBEntry::entry(const std::string& name) const {
    const std::string path = childPath(name);
    const POLE::DirEntry* e = storage_->dirTree()->entry(path);
    if (!e) return nullptr;
    return std::make_shared<CFBEntry>(storage_, e, path);
}

std::optional<Bytes> CFBEntry::data() const {
    if (!isDocumentEntry()) return std::nullopt;
    std::lock_guard lock(mutex_);
    if (!data_) {
        POLE::Stream stream(storage_.get(), path_);
        if (stream.fail()) {
            logf("failed to open POLE::Stream {}", path_);
            data_ = std::optional<Bytes>();
        } else {
            data_ = storage_->io().streamData(*entry_);
            if (!*data_)
                storage_->io().report()->warn(
                    fmt::format("stream {} not read: its sectors are shared with other streams "
                                "and copying them all would cost more than the file allows",
                                path_));
        }
    }
    return *data_;
}

std::string CFBEntry::description() const {
    return fmt::format("<CFBEntry: {}> {{ name = '{}', directoryEntry = {}, length = {}}}",
                       fmt::ptr(this), name(), isDirectoryEntry() ? "YES" : "NO", length());
}

}  // namespace qb
