// SPDX-License-Identifier: Apache-2.0
#include "support/CompoundFileWriter.h"

#include <stdexcept>

namespace qb::test {

CompoundFileNode compoundFileNode(const CFNode& node) {
    if (!node.storage) return CompoundFileNode::stream(node.name, Bytes::fromString(node.data));
    std::vector<CompoundFileNode> children;
    children.reserve(node.children.size());
    for (const CFNode& child : node.children)
        children.push_back(compoundFileNode(child));
    return CompoundFileNode::storageOf(node.name, std::move(children), node.clsid);
}

std::string CompoundFileWriter::write(const CFNode& root) const {
    std::string whyNot;
    auto file = writeCompoundFile(compoundFileNode(root), options_, &layout_, &whyNot);
    if (!file) throw std::invalid_argument("compound file not written: " + whyNot);
    std::string out = file->str();
    if (trim_) {
        // Cut the unused tail of the last sector.
        size_t end = out.size();
        while (end > 0 && out[end - 1] == '\0' && end > out.size() - layout_.sectorSize + 1)
            --end;
        out.resize(end);
    }
    return out;
}

}  // namespace qb::test
