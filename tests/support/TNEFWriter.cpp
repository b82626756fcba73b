// SPDX-License-Identifier: Apache-2.0
#include "support/TNEFWriter.h"

#include "platform/StringEncoding.h"

namespace qb::test {

ByteWriter& ByteWriter::u8(uint8_t v) {
    buf_.push_back(static_cast<char>(v));
    return *this;
}
ByteWriter& ByteWriter::u16(uint16_t v) {
    return u8(uint8_t(v)).u8(uint8_t(v >> 8));
}
ByteWriter& ByteWriter::u32(uint32_t v) {
    return u16(uint16_t(v)).u16(uint16_t(v >> 16));
}
ByteWriter& ByteWriter::u64(uint64_t v) {
    return u32(uint32_t(v)).u32(uint32_t(v >> 32));
}
ByteWriter& ByteWriter::raw(std::string_view bytes) {
    buf_.append(bytes);
    return *this;
}
ByteWriter& ByteWriter::raw(const std::vector<uint8_t>& bytes) {
    buf_.append(bytes.begin(), bytes.end());
    return *this;
}
ByteWriter& ByteWriter::zeros(size_t n) {
    buf_.append(n, '\0');
    return *this;
}
ByteWriter& ByteWriter::pad4() {
    return zeros((4 - buf_.size() % 4) % 4);
}

std::string utf16le(std::string_view utf8, bool terminate) {
    std::string out = utf8ToUTF16LE(utf8);
    if (terminate) out.append(2, '\0');
    return out;
}

std::string PropsWriter::le32(uint32_t v) {
    return ByteWriter().u32(v).str();
}

std::string PropsWriter::counted(std::string_view bytes) {
    ByteWriter w;
    w.u32(1).u32(static_cast<uint32_t>(bytes.size())).raw(bytes);
    w.zeros((4 - bytes.size() % 4) % 4);
    return w.str();
}

PropsWriter& PropsWriter::prop(uint16_t type, uint16_t id, std::string_view valueBytes) {
    records_ += ByteWriter().u16(type).u16(id).raw(valueBytes).str();
    ++count_;
    return *this;
}

PropsWriter& PropsWriter::systime(uint16_t id, uint64_t fileTime) {
    return prop(0x0040, id, ByteWriter().u64(fileTime).str());
}

PropsWriter& PropsWriter::string8(uint16_t id, std::string_view text, bool terminate) {
    std::string bytes(text);
    if (terminate) bytes.push_back('\0');
    return prop(0x001E, id, counted(bytes));
}

PropsWriter& PropsWriter::unicode(uint16_t id, std::string_view utf8) {
    return prop(0x001F, id, counted(utf16le(utf8)));
}

PropsWriter& PropsWriter::binary(uint16_t id, std::string_view bytes, uint16_t type) {
    return prop(type, id, counted(bytes));
}

PropsWriter& PropsWriter::multiU32(uint16_t id, const std::vector<uint32_t>& values) {
    ByteWriter w;
    w.u32(static_cast<uint32_t>(values.size()));
    for (uint32_t v : values)
        w.u32(v);
    return prop(0x1003, id, w.str());
}

PropsWriter& PropsWriter::namedNumber(uint16_t type, uint16_t id, std::string_view guid,
                                      uint32_t number, std::string_view valueBytes) {
    return prop(type, id, ByteWriter().raw(guid).u32(0).u32(number).raw(valueBytes).str());
}

PropsWriter& PropsWriter::namedString(uint16_t type, uint16_t id, std::string_view guid,
                                      std::string_view name, std::string_view valueBytes) {
    const std::string encoded = utf16le(name);
    ByteWriter w;
    w.raw(guid).u32(1).u32(static_cast<uint32_t>(encoded.size())).raw(encoded);
    w.zeros((4 - encoded.size() % 4) % 4);
    return prop(type, id, w.raw(valueBytes).str());
}

PropsWriter& PropsWriter::rawRecord(std::string_view bytes) {
    records_ += bytes;
    ++count_;
    return *this;
}

PropsWriter& PropsWriter::count(uint32_t n) {
    count_ = n;
    return *this;
}

std::string PropsWriter::str() const {
    return le32(count_) + records_;
}

TNEFWriter::TNEFWriter() {
    buf_ = ByteWriter().u32(0x223E9F78).u16(0x0001).str();
}

namespace {

std::string record(uint8_t level, uint16_t id, uint16_t type, std::string_view data,
                   int checksumDelta) {
    uint32_t sum = 0;
    for (unsigned char c : data)
        sum += c;
    return ByteWriter()
        .u8(level)
        .u16(id)
        .u16(type)
        .u32(static_cast<uint32_t>(data.size()))
        .raw(data)
        .u16(static_cast<uint16_t>(sum + static_cast<uint32_t>(checksumDelta)))
        .str();
}

}  // namespace

TNEFWriter& TNEFWriter::attr(uint8_t level, uint16_t id, uint16_t type, std::string_view data) {
    buf_ += record(level, id, type, data, 0);
    return *this;
}

TNEFWriter& TNEFWriter::corruptAttr(uint8_t level, uint16_t id, uint16_t type,
                                    std::string_view data) {
    buf_ += record(level, id, type, data, 1);
    return *this;
}

TNEFWriter& TNEFWriter::raw(std::string_view bytes) {
    buf_ += bytes;
    return *this;
}

TNEFWriter& TNEFWriter::version() {
    return attr(1, 0x9006, 8, PropsWriter::le32(0x00010000));
}

TNEFWriter& TNEFWriter::oemCodepage(uint32_t codePage) {
    return attr(1, 0x9007, 6, ByteWriter().u32(codePage).u32(0).str());
}

TNEFWriter& TNEFWriter::messageClass(std::string_view cls) {
    return attr(1, 0x8008, 7, std::string(cls) + '\0');
}

TNEFWriter& TNEFWriter::subject(std::string_view text) {
    return attr(1, 0x8004, 1, std::string(text) + '\0');
}

TNEFWriter& TNEFWriter::date(uint16_t id, int y, int mo, int d, int h, int mi, int s) {
    ByteWriter w;
    for (int v : {y, mo, d, h, mi, s, 0})
        w.u16(static_cast<uint16_t>(v));
    return attr(1, id, 3, w.str());
}

TNEFWriter& TNEFWriter::mapiProps(const PropsWriter& props) {
    return attr(1, 0x9003, 6, props.str());
}

TNEFWriter& TNEFWriter::recipients(const std::vector<PropsWriter>& rows) {
    std::string data = PropsWriter::le32(static_cast<uint32_t>(rows.size()));
    for (const auto& r : rows)
        data += r.str();
    return attr(1, 0x9004, 6, data);
}

TNEFWriter& TNEFWriter::attachment(std::string_view title, std::string_view data,
                                   const PropsWriter* props) {
    // Rendering data: type 1 (file), position -1, no size, no flags.
    attr(2, 0x9002, 6, ByteWriter().u16(1).u32(0xFFFFFFFF).u16(0).u16(0).u32(0).str());
    if (!title.empty()) attr(2, 0x8010, 1, std::string(title) + '\0');
    attr(2, 0x800F, 6, data);
    if (props) attr(2, 0x9005, 6, props->str());
    return *this;
}

}  // namespace qb::test

#include "tnef/TNEFMessage.h"

namespace qb::test {

std::shared_ptr<TNEFMessage> readTNEF(const std::string& bytes, bool ignoreChecksum,
                                      TNEFError* error) {
    return TNEFMessage::create(Bytes::fromString(bytes), nullptr, ignoreChecksum, error);
}

std::shared_ptr<TNEFMessage> messageWithProps(const PropsWriter& props) {
    return readTNEF(TNEFWriter().mapiProps(props).str());
}

}  // namespace qb::test
