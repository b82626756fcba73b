// SPDX-License-Identifier: Apache-2.0
// Decoding per type: 8-bit text in the message's encoding, compressed RTF expanded, and
// PT_OBJECT values opened as embedded messages through the owning reader's hook.
#include "model/MAPIValue.h"

#include <fmt/format.h>

#include <cxxabi.h>
#include <algorithm>
#include <bit>
#include <exception>
#include <string_view>
#include <typeinfo>

#include "OXMSG/cfb/CFBEntry.h"
#include "model/CompressedRTF.h"
#include "model/MAPITypes.h"
#include "model/OutlookMessage.h"
#include "model/PropertyTags.h"
#include "platform/ByteReader.h"
#include "platform/Log.h"
#include "platform/StringEncoding.h"

namespace qb {

namespace {

// Interface ids of embedded objects, as stored (first three fields little-endian).
constexpr size_t kIIDSize = 16;
constexpr std::string_view kIIDMessage(
    "\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", kIIDSize);
constexpr std::string_view kIIDStorage(
    "\x0B\x00\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", kIIDSize);

std::string exceptionName(const std::exception& e) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status);
    std::string name = status == 0 && demangled ? demangled : typeid(e).name();
    std::free(demangled);
    return name;
}

}  // namespace

std::shared_ptr<MAPIValue> MAPIValue::create(const Bytes& data, size_t& location, uint32_t type,
                                             uint32_t name,
                                             const std::shared_ptr<const OutlookMessage>& message) {
    const bool counted = !message || message->valueLayout() == ValueLayout::CountedInStream;
    auto value = std::make_shared<MAPIValue>(data, location, type, name, message, counted);
    if (counted) {
        const uint64_t size = streamSize(data, location, type & ~MV_FLAG);
        location = size >= data.size() - std::min(location, data.size())
                       ? data.size()
                       : location + static_cast<size_t>(size);
    }
    return value;
}

std::shared_ptr<MAPIValue> MAPIValue::create(const Bytes& data, uint32_t type, uint32_t name,
                                             const std::shared_ptr<const OutlookMessage>& message) {
    return std::make_shared<MAPIValue>(data, 0, type, name, message, false);
}

uint64_t MAPIValue::streamSize(const Bytes& data, size_t location, uint32_t baseType) {
    const MAPITypeInfo* info = mapiTypeInfo(baseType);
    if (!info) return 0;
    if (!info->variable) return info->fixedSize;
    auto length = ByteReader::u32le(data, location);
    if (!length) return UINT64_MAX;  // the length itself is cut off: the stream is used up
    const uint64_t len = *length;
    return 4 + len + ((4 - len % 4) % 4);
}

std::optional<Bytes> MAPIValue::countedBytes() const {
    auto length = ByteReader::u32le(data_, location_);
    if (!length) return std::nullopt;
    return data_.sub(location_ + 4, *length);
}

std::optional<Bytes> MAPIValue::variableBytes() const {
    if (counted_) return countedBytes();
    return data_.slice(location_);
}

const MAPIData& MAPIValue::value() const {
    return value_.get([&] { return decode(); });
}

void MAPIValue::presetValue(MAPIData value) {
    value_.preset(std::move(value));
}

MAPIData MAPIValue::decode() const {
    auto message = message_.lock();
    const uint32_t baseType = type_ & ~MV_FLAG;

    if (name_ == kRTFCompressedId) {
        auto stream = variableBytes();
        if (!stream) return {};
        auto rtf = decompressRTF(*stream, message ? message->ignoreChecksum() : true);
        if (!rtf) return {};
        return *rtf;
    }

    switch (baseType) {
        case PT_NULL:
            return NullValue{};
        case PT_SHORT:
            if (auto v = ByteReader::u16le(data_, location_)) return *v;
            return {};
        case PT_LONG:
        case PT_ERROR:
            if (auto v = ByteReader::u32le(data_, location_)) return *v;
            return {};
        case PT_FLOAT:
            if (auto v = ByteReader::u32le(data_, location_)) return std::bit_cast<float>(*v);
            return {};
        case PT_DOUBLE:
            if (auto v = ByteReader::u64le(data_, location_)) return std::bit_cast<double>(*v);
            return {};
        case PT_CURRENCY:
        case PT_LONGLONG:
            if (auto v = ByteReader::u64le(data_, location_)) return static_cast<int64_t>(*v);
            return {};
        case PT_APPTIME:
        case PT_SYSTIME:
            if (auto v = ByteReader::u64le(data_, location_)) return dateFromFileTime(*v);
            return {};
        case PT_BOOLEAN: {
            auto b = data_.sub(location_, 4);
            if (!b) return {};
            return std::any_of(b->begin(), b->end(), [](uint8_t x) { return x != 0; });
        }
        case PT_CLSID:
            if (auto b = data_.sub(location_, 16)) return *b;
            return {};
        case PT_BINARY:
            if (auto b = variableBytes()) return *b;
            return {};
        case PT_STRING8: {
            auto b = variableBytes();
            if (!b) return {};
            const StringEncoding encoding = message ? message->encoding() : kISOLatin1Encoding;
            if (auto s = decodeMessageText(b->withoutTrailingNULs().span(), encoding)) return *s;
            return {};
        }
        case PT_UNICODE: {
            auto b = variableBytes();
            if (!b) return {};
            return utf16leToUTF8(b->withoutTrailingWideNULs().span());
        }
        case PT_OBJECT: {
            auto b = variableBytes();
            if (!b) return {};
            if (b->size() <= kIIDSize) return *b;
            if (b->view().starts_with(kIIDMessage)) {
                if (!message) return {};
                try {
                    auto nested = message->openEmbeddedMessage(b->slice(kIIDSize));
                    if (!nested) return {};
                    return nested;
                } catch (const std::exception& e) {
                    logf("{}: {}", exceptionName(e), e.what());
                    return *b;
                }
            }
            if (b->view().starts_with(kIIDStorage)) {
                if (auto storage =
                        CFBEntry::create(b->slice(kIIDSize), message ? message->report() : nullptr))
                    return storage;
                return {};
            }
            // Other interfaces have no meaning we can give them.
            return {};
        }
        default:
            return {};
    }
}

std::string describeMAPIData(const MAPIData& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return "(null)"; }
        std::string operator()(NullValue) const { return "<null>"; }
        std::string operator()(uint16_t v) const { return std::to_string(v); }
        std::string operator()(uint32_t v) const { return std::to_string(v); }
        std::string operator()(float v) const { return fmt::format("{}", v); }
        std::string operator()(double v) const { return fmt::format("{}", v); }
        std::string operator()(int64_t v) const { return std::to_string(v); }
        std::string operator()(bool v) const { return v ? "YES" : "NO"; }
        std::string operator()(Date v) const { return formatRFC3339(v); }
        std::string operator()(const std::string& v) const { return v; }
        std::string operator()(const Bytes& v) const {
            return fmt::format("<NSData>{{length = {}}}", v.size());
        }
        std::string operator()(const std::shared_ptr<OutlookMessage>&) const {
            return "<embedded message>";
        }
        std::string operator()(const std::shared_ptr<CFBEntry>&) const {
            return "<embedded storage>";
        }
    };
    return std::visit(Visitor{}, value);
}

std::string MAPIValue::description() const {
    return fmt::format("<MAPIValue: {}>{{type = {}, value = {}}}", fmt::ptr(this),
                       propTypeName(type_ & ~MV_FLAG), describeMAPIData(value()));
}

}  // namespace qb
