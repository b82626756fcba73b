// SPDX-License-Identifier: Apache-2.0
#include "support/MsgWriter.h"

#include <fmt/format.h>

#include "support/TNEFWriter.h"

namespace qb::test {

MsgProps& MsgProps::fixed(uint16_t type, uint16_t id, uint64_t value) {
    fixed_ += ByteWriter().u16(type).u16(id).u32(0x6).u64(value).str();
    return *this;
}

MsgProps& MsgProps::string8(uint16_t id, const std::string& bytes) {
    return stream(fmt::format("__substg1.0_{:04X}001E", id), bytes);
}

MsgProps& MsgProps::unicode(uint16_t id, const std::string& utf8) {
    return stream(fmt::format("__substg1.0_{:04X}001F", id), utf16le(utf8, false));
}

MsgProps& MsgProps::binary(uint16_t id, const std::string& bytes) {
    return stream(fmt::format("__substg1.0_{:04X}0102", id), bytes);
}

MsgProps& MsgProps::stream(const std::string& name, const std::string& bytes) {
    streams_.push_back(CFNode::stream(name, bytes));
    return *this;
}

MsgProps& MsgProps::child(CFNode node) {
    streams_.push_back(std::move(node));
    return *this;
}

std::vector<CFNode> MsgProps::nodes(Kind kind, uint32_t recipients, uint32_t attachments,
                                    bool countsMatch) const {
    ByteWriter header;
    header.u32(0).u32(0);
    if (kind != Kind::Item) {
        header.u32(recipients).u32(attachments);
        header.u32(countsMatch ? recipients : recipients + 1).u32(attachments);
        if (kind == Kind::Root) header.u32(0).u32(0);
    }
    std::vector<CFNode> out = streams_;
    out.push_back(CFNode::stream("__properties_version1.0", header.str() + fixed_));
    return out;
}

CFNode MsgFile::tree(MsgProps::Kind kind) const {
    std::vector<CFNode> children =
        root.nodes(kind, uint32_t(recipients.size()), uint32_t(attachments.size()), countsMatch);
    for (size_t i = 0; i < recipients.size(); ++i)
        children.push_back(CFNode::dir(fmt::format("__recip_version1.0_#{:08X}", i),
                                       recipients[i].nodes(MsgProps::Kind::Item)));
    for (size_t i = 0; i < attachments.size(); ++i) {
        auto nodes = attachments[i].props.nodes(MsgProps::Kind::Item);
        if (!attachments[i].embedded.empty())
            nodes.push_back(CFNode::dir("__substg1.0_3701000D", attachments[i].embedded));
        children.push_back(CFNode::dir(fmt::format("__attach_version1.0_#{:08X}", i), nodes));
    }
    if (!named.empty() || !guids.empty()) {
        std::string guidStream, entryStream, stringStream;
        for (const auto& g : guids) guidStream += g;
        for (const auto& n : named) {
            uint32_t value = n.number;
            uint16_t stringKind = 0;
            if (!n.name.empty()) {
                value = uint32_t(stringStream.size());
                stringKind = 1;
                const std::string utf16 = utf16le(n.name, false);
                stringStream += ByteWriter().u32(uint32_t(utf16.size())).raw(utf16).pad4().str();
            }
            entryStream += ByteWriter().u32(value).u16(uint16_t(n.guidIndex << 1 | stringKind)).u16(n.index).str();
        }
        children.push_back(CFNode::dir("__nameid_version1.0",
                                       {CFNode::stream("__substg1.0_00020102", guidStream),
                                        CFNode::stream("__substg1.0_00030102", entryStream),
                                        CFNode::stream("__substg1.0_00040102", stringStream)}));
    }
    return CFNode::dir("Root Entry", children);
}

std::string MsgFile::write(unsigned sectorShift) const {
    return CompoundFileWriter(sectorShift).write(tree());
}

}  // namespace qb::test
