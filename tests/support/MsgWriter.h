// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/CompoundFileWriter.h"

namespace qb::test {

// The property storage of a .msg message, recipient or attachment: fixed-size values in
// "__properties_version1.0", the rest in "__substg1.0_IIIITTTT" streams.
class MsgProps {
public:
    enum class Kind { Root, Embedded, Item };  // header of 32, 24 or 8 bytes

    MsgProps& fixed(uint16_t type, uint16_t id, uint64_t value);
    MsgProps& u32(uint16_t id, uint32_t v) { return fixed(0x0003, id, v); }
    MsgProps& string8(uint16_t id, const std::string& bytes);
    MsgProps& unicode(uint16_t id, const std::string& utf8);
    MsgProps& binary(uint16_t id, const std::string& bytes);
    MsgProps& stream(const std::string& name, const std::string& bytes);  // any extra stream
    MsgProps& child(CFNode node);                                          // any extra child

    // The storage's children; `recipients` and `attachments` go into the header's counts.
    std::vector<CFNode> nodes(Kind kind, uint32_t recipients = 0, uint32_t attachments = 0,
                              bool countsMatch = true) const;

private:
    std::string fixed_;
    std::vector<CFNode> streams_;
};

struct MsgNamedProperty {
    uint16_t index;     // the property id is 0x8000 + index
    uint16_t guidIndex;  // 0..2 the fixed set, 3 on the GUID stream's entries
    uint32_t number;     // numbered: the number
    std::string name;    // named by string when not empty
};

// A whole .msg file: root properties, recipients and attachments (each its own property
// storage; an attachment may hold an embedded message's storage), named properties.
struct MsgFile {
    MsgProps root;
    std::vector<MsgProps> recipients;
    struct Attachment {
        MsgProps props;
        std::vector<CFNode> embedded;  // children of "__substg1.0_3701000D", when not empty
    };
    std::vector<Attachment> attachments;
    std::vector<std::string> guids;  // the GUID stream
    std::vector<MsgNamedProperty> named;
    bool countsMatch = true;

    CFNode tree(MsgProps::Kind kind = MsgProps::Kind::Root) const;
    std::string write(unsigned sectorShift = 9) const;
};

}  // namespace qb::test
