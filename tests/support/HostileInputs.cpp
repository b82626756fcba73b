// SPDX-License-Identifier: Apache-2.0
// Builders of the hostile inputs: TNEF streams and compound files made in code.
#include "support/HostileInputs.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "support/CompoundFileWriter.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"

namespace qb::test {

namespace {

constexpr std::string_view kIIDMessage(
    "\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;

uint32_t u32At(const std::string& b, size_t at) {
    uint32_t v = 0;
    std::memcpy(&v, b.data() + at, 4);
    return v;
}
void putU32(std::string& b, size_t at, uint32_t v) {
    std::memcpy(b.data() + at, &v, 4);
}

// Offsets of the directory entries whose name starts with `prefix` (ASCII), found on the
// 128-byte grid the directory sectors lie on.
std::vector<size_t> directoryEntries(const std::string& file, std::string_view prefix) {
    const std::string wide = utf16le(prefix, false);
    std::vector<size_t> found;
    for (size_t at = 512; at + 128 <= file.size(); at += 128)
        if (file.compare(at, wide.size(), wide) == 0 && file[at + 0x42] == 2) found.push_back(at);
    return found;
}

// Offset of the FAT entry of `sector` (only the header's 109 FAT sectors are used).
size_t fatEntry(const std::string& file, uint32_t sector, size_t sectorSize) {
    const uint32_t fatSector = u32At(file, 0x4C + 4 * (sector / (sectorSize / 4)));
    return (size_t(fatSector) + 1) * sectorSize + (sector % (sectorSize / 4)) * 4;
}

std::string simpleMsg() {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note")
        .string8(0x0037, "cycles")
        .string8(0x1000, std::string(5000, 'b'));
    f.root.string8(0x0C1A, "small");
    return f.write();
}

}  // namespace

std::string zeroSizeValueCounts(size_t properties) {
    PropsWriter props;
    for (size_t i = 0; i < properties; ++i)
        props.prop(0x1001, uint16_t(0x6000 + i % 0x1000), PropsWriter::le32(0xFFFFFFFF));
    return TNEFWriter().version().messageClass("IPM.Note").mapiProps(props).str();
}

std::string propertyListsReadingOn(size_t records) {
    TNEFWriter w;
    w.version().messageClass("IPM.Note");
    for (size_t i = 0; i < records; ++i) {
        // A long, then a binary value of 16 bytes of which only the first is in this record:
        // the other 15 are the checksum (2), the next record's header (9) and its count (4),
        // so the list goes on with the next record's long.
        ByteWriter data;
        data.u32(0xFFFFFFFF).u16(0x0003).u16(0x0E07).u32(uint32_t(i));
        data.u16(0x0102).u16(0x0FF9).u32(1).u32(16).u8('x');
        w.attr(1, 0x9003, 6, data.str());
    }
    return w.str();
}

std::string sharedSectorMsg(size_t streams, size_t chainBytes) {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note").string8(0x0037, "shared sectors");
    for (size_t i = 0; i < streams; ++i)
        f.root.binary(uint16_t(0x6000 + i), "12345678");
    f.root.binary(0x7FFF, std::string(chainBytes, 'A'));
    std::string file = f.write(9);

    const size_t sectorSize = 512;
    const auto big = directoryEntries(file, "__substg1.0_7FFF0102");
    if (big.size() != 1) return file;
    const uint32_t start = u32At(file, big[0] + 0x74);
    const uint32_t sectors = uint32_t((chainBytes + sectorSize - 1) / sectorSize);
    // The chain visits the even sectors first, then the odd ones.
    std::vector<uint32_t> order;
    for (uint32_t k = 0; k < sectors; k += 2)
        order.push_back(start + k);
    for (uint32_t k = 1; k < sectors; k += 2)
        order.push_back(start + k);
    for (size_t k = 0; k + 1 < order.size(); ++k)
        putU32(file, fatEntry(file, order[k], sectorSize), order[k + 1]);
    putU32(file, fatEntry(file, order.back(), sectorSize), kEndOfChain);
    for (size_t at : directoryEntries(file, "__substg1.0_6")) {
        putU32(file, at + 0x74, start);
        putU32(file, at + 0x78, uint32_t(chainBytes));
    }
    return file;
}

std::string nestedTNEF(size_t levels, size_t senderNameLength) {
    auto level = [&](size_t n, const std::string& inner) {
        PropsWriter props;
        props.string8(0x0037, "level " + std::to_string(n))
            .string8(0x0C1A, std::string(senderNameLength, 's'))
            .string8(0x0C1E, "SMTP")
            .string8(0x0C1F, "sender" + std::to_string(n) + "@example.com")
            .string8(0x1000, "body of level " + std::to_string(n));
        TNEFWriter w;
        w.version().messageClass("IPM.Note").mapiProps(props);
        if (!inner.empty()) {
            PropsWriter attachment;
            attachment.string8(0x3001, "attached")
                .binary(0x3701, std::string(kIIDMessage) + inner, 0x000D)
                .u32(0x3705, 5);
            w.attachment("", "", &attachment);
        }
        return w.str();
    };
    std::string stream;
    for (size_t n = levels; n > 0; --n)
        stream = level(n, stream);
    return stream;
}

std::string manyHeaderNamesMsg(size_t names) {
    std::string headers = "From: someone@example.com\r\n";
    for (size_t i = 0; i < names; ++i)
        headers += "X-Header-" + std::to_string(i) + ": value " + std::to_string(i) + "\r\n";
    headers += "\r\n";
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note").string8(0x0037, "headers").string8(0x007D, headers);
    return f.write(12);
}

std::string manyAttachments(size_t count) {
    TNEFWriter w;
    w.version().messageClass("IPM.Note").subject("attachments");
    for (size_t i = 0; i < count; ++i)
        w.attachment("a" + std::to_string(i) + ".txt", "x");
    return w.str();
}

std::string hugeLZFuClaim() {
    ByteWriter rtf;
    // Compressed size, decompressed size 4 GB, "LZFu", CRC; then control bytes that ask for
    // dictionary references over and over.
    std::string payload;
    for (int i = 0; i < 2000; ++i)
        payload +=
            std::string("\xFF\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F\x00\x0F", 17);
    rtf.u32(uint32_t(payload.size() + 12)).u32(0xFFFFFFF0).u32(0x75465A4C).u32(0).raw(payload);
    PropsWriter props;
    props.string8(0x0037, "rtf").binary(0x1009, rtf.str());
    return TNEFWriter().version().messageClass("IPM.Note").mapiProps(props).str();
}

std::string deepHTML(size_t depth) {
    std::string html = "<html><body>";
    for (size_t i = 0; i < depth; ++i)
        html += "<div>";
    html += "deepest-marker";
    for (size_t i = 0; i < depth; ++i)
        html += "</div>";
    html += "</body></html>";
    PropsWriter props;
    props.string8(0x0037, "deep html").binary(0x1013, html);
    return TNEFWriter().version().messageClass("IPM.Note").mapiProps(props).str();
}

std::string msgWithFATCycle() {
    std::string file = simpleMsg();
    // The body (a big stream) loops back to its own first sector.
    for (size_t at : directoryEntries(file, "__substg1.0_1000001E")) {
        const uint32_t start = u32At(file, at + 0x74);
        putU32(file, fatEntry(file, start + 1, 512), start);
    }
    return file;
}

std::string msgWithMiniFATCycle() {
    std::string file = simpleMsg();
    for (size_t at : directoryEntries(file, "__substg1.0_0C1A001E")) {
        // The mini FAT's first sector: every small block links to block 0.
        const uint32_t miniFAT = u32At(file, 0x3C);
        const size_t base = (size_t(miniFAT) + 1) * 512;
        for (size_t k = 0; k < 128; ++k)
            putU32(file, base + 4 * k, 0);
        putU32(file, at + 0x78, 4000);
    }
    return file;
}

std::string msgWithDirectoryCycle() {
    std::string file = simpleMsg();
    // Every stream's siblings lead back to the first two entries below the root.
    for (size_t at : directoryEntries(file, "__substg1.0_")) {
        putU32(file, at + 0x44, 1);
        putU32(file, at + 0x48, 2);
    }
    return file;
}

std::string msgWithSectorShift30() {
    std::string file = simpleMsg();
    file[0x1E] = 30;
    file[0x1F] = 0;
    return file;
}

}  // namespace qb::test
