// SPDX-License-Identifier: Apache-2.0
// The TNEF property-list parser: named-property headers, value counts cut to what the bytes
// can hold, and every header and value charged to the input's work budget.
#include "model/MAPIProp.h"

#include <fmt/format.h>

#include "model/MAPIProps.h"
#include "model/MAPITypes.h"
#include "model/OutlookMessage.h"
#include "model/PropertyTags.h"
#include "platform/ByteReader.h"
#include "platform/ReadReport.h"
#include "platform/StringEncoding.h"

namespace qb {

namespace {

// Reads a named-property header at the reader's position; `id` becomes the number of a
// numbered name.
std::shared_ptr<MAPIPropName> readPropName(ByteReader& in, uint32_t& id) {
    std::optional<Bytes> guid = in.take(16);
    auto kind = in.u32le();
    std::optional<std::string> name;
    if (kind && *kind == 0) {
        if (auto number = in.u32le()) id = *number;
    } else if (kind && *kind == 1) {
        if (auto length = in.u32le()) {
            const size_t start = in.position();
            if (auto raw = in.bytes().sub(start, *length)) {
                name = utf16leToUTF8(raw->withoutTrailingWideNULs().span());
                const uint64_t padded = uint64_t(*length) + (4 - *length % 4) % 4;
                in.seek(padded > in.remaining() ? in.size() : start + size_t(padded));
            }
        }
    }
    return std::make_shared<MAPIPropName>(guid, id, name);
}

// The fewest bytes one value of `baseType` takes in a stream: its fixed size, or the length
// field of a variable-length value.
size_t minimumValueSize(uint32_t baseType) {
    if (isVariableMAPIType(baseType)) return 4;
    return size_t(MAPIValue::streamSize(Bytes(), 0, baseType));
}

}  // namespace

bool MAPIProp::isMAPIPropType(uint32_t t) {
    return mapiTypeInfo(t) != nullptr;
}

MAPIPropList MAPIProp::propertiesOfMessage(const std::shared_ptr<const OutlookMessage>& message,
                                           const Bytes& data, size_t& location) {
    MAPIPropList props;
    ByteReader in(data, location);
    auto count = in.u32le();
    if (!count) return props;
    ReadReport* report = message ? message->report().get() : nullptr;
    auto spend = [&](uint64_t n) { return !report || report->spendPropertyWork(n, in.position()); };
    // Each property takes at least its type and id.
    const uint64_t fitting = in.fitCount(*count, 4);
    if (fitting < 1024) props.reserve(size_t(fitting));

    uint64_t i = 0;
    for (; i < fitting; ++i) {
        if (!in.has(4) || !spend(1)) break;
        const uint32_t type = *in.u16le();
        const uint32_t baseType = type & ~MV_FLAG;
        if (!isMAPIPropType(baseType)) break;
        uint32_t id = *in.u16le();

        std::shared_ptr<MAPIPropName> propName;
        if (id >= 0x8000 && id <= 0xFFFE) propName = readPropName(in, id);

        uint64_t valueCount = 1;
        if (hasValueCount(type)) {
            auto n = in.u32le();
            if (!n) break;
            valueCount = *n;
        }

        size_t pos = in.position();
        if (valueCount == 1) {
            auto value = MAPIValue::create(data, pos, baseType, id, message);
            props.push_back(std::make_shared<MAPIProp>(std::move(value), baseType, id, propName));
        } else {
            const size_t minSize = minimumValueSize(baseType);
            if (minSize == 0 && valueCount > 1) {
                // Values that take no bytes are all the same value: keep one and the count.
                auto value = MAPIValue::create(data, pos, baseType, id, message);
                props.push_back(std::make_shared<MAPIProp>(std::move(value), valueCount, baseType,
                                                           id, propName));
            } else {
                // A last value cut off by the end of the stream still counts, as it reads.
                const size_t left = data.size() - std::min(pos, data.size());
                const uint64_t claimed = valueCount;
                valueCount = ByteReader::fitCount(valueCount, left + minSize - 1, minSize);
                if (valueCount < claimed && report)
                    report->warn(fmt::format("a property claims {} values where the data holds "
                                             "at most {}",
                                             claimed, valueCount),
                                 pos);
                if (!spend(valueCount)) break;
                std::vector<std::shared_ptr<MAPIValue>> values;
                values.reserve(size_t(valueCount));
                for (uint64_t k = 0; k < valueCount && pos < data.size(); ++k)
                    values.push_back(MAPIValue::create(data, pos, baseType, id, message));
                props.push_back(
                    std::make_shared<MAPIProp>(std::move(values), baseType, id, propName));
            }
        }
        in.seek(pos);
    }
    if (i < *count && report)
        report->warn(
            fmt::format("the property list breaks off after {} of {} properties", i, *count),
            in.position());
    location = in.position();
    return props;
}

std::string MAPIProp::description() const {
    std::string out = fmt::format("<MAPIProp: {}>{{", fmt::ptr(this));
    if (auto tagName = nameForPropertyTag(tag()))
        out += fmt::format("tag = {}, ", *tagName);
    else
        out += fmt::format("id = 0x{:04X}, ", name_);
    if (propName_) out += fmt::format("propName = {}, ", propName_->description());
    if (multi_) {
        out += "values = (";
        for (size_t i = 0; i < values_.size(); ++i) {
            if (i) out += ", ";
            out += values_[i]->description();
        }
        out += ")";
    } else {
        out += "value = " + (single_ ? single_->description() : std::string("(null)"));
    }
    out += "}";
    return out;
}

}  // namespace qb
