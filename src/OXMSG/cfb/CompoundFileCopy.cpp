// SPDX-License-Identifier: Apache-2.0
// A guarded walk below the storage: each entry taken once, nesting capped, and the streams
// together held to the size of the input.
#include "OXMSG/cfb/CompoundFileCopy.h"

#include <set>

#include "OXMSG/cfb/DirectoryRecords.h"

namespace qb {

namespace {

struct Copier {
    explicit Copier(const CFBEntry& top)
        : records(top.storage()), budget(top.storage().io().bytes().size()) {}

    // Fills `node` with the children of `storage`, which lies `depth` storages below the top;
    // false when the copy has to be given up.
    bool copyChildren(const CFBEntry& storage, CompoundFileNode& node, size_t depth) {
        if (depth > kMaxCompoundFileDepth) return false;
        for (const auto& child : storage.entries()) {
            const POLE::DirEntry* entry = child->dirEntry();
            if (!entry->valid || !seen.insert(entry).second) continue;
            auto record = records.record(entry);
            if (!record) return false;
            if (child->isDirectoryEntry()) {
                node.children.push_back(
                    CompoundFileNode::storageOf(std::move(record->name), {}, record->clsid));
                if (!copyChildren(*child, node.children.back(), depth + 1)) return false;
            } else {
                auto data = child->data();
                if (!data || data->size() > budget) return false;
                budget -= data->size();
                node.children.push_back(
                    CompoundFileNode::stream(std::move(record->name), std::move(*data)));
            }
        }
        return true;
    }

    DirectoryRecords records;
    std::set<const POLE::DirEntry*> seen;
    uint64_t budget;
};

}  // namespace

std::optional<CompoundFileNode> copyOfStorage(const CFBEntry& storage) {
    if (!storage.isDirectoryEntry()) return std::nullopt;
    Copier copier(storage);
    auto record = copier.records.record(storage.dirEntry());
    if (!record) return std::nullopt;
    copier.seen.insert(storage.dirEntry());
    CompoundFileNode root = CompoundFileNode::storageOf("Root Entry", {}, record->clsid);
    if (!copier.copyChildren(storage, root, 0)) return std::nullopt;
    return root;
}

}  // namespace qb
