// SPDX-License-Identifier: Apache-2.0
// One MAPI property of the message model, made by both readers; the TNEF reader parses whole
// property lists through propertiesOfMessage.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/MAPIPropName.h"
#include "model/MAPIValue.h"
#include "platform/Export.h"

namespace qb {

class OutlookMessage;
class MAPIProp;
using MAPIPropList = std::vector<std::shared_ptr<MAPIProp>>;

/// One MAPI property: a base type, an id (or, for a numbered named property from TNEF, its
/// number) and one value or a list of values.
class QB_API MAPIProp {
  public:
    MAPIProp(std::shared_ptr<MAPIValue> value, uint32_t type, uint32_t name,
             std::shared_ptr<MAPIPropName> propName)
        : single_(std::move(value)), type_(type), name_(name), propName_(std::move(propName)) {}
    MAPIProp(std::vector<std::shared_ptr<MAPIValue>> values, uint32_t type, uint32_t name,
             std::shared_ptr<MAPIPropName> propName)
        : values_(std::move(values)),
          multi_(true),
          type_(type),
          name_(name),
          propName_(std::move(propName)) {}

    /// A multi-valued property of a type whose values take no bytes (PT_NULL): one value
    /// stands for all `count` of them, so a huge count costs nothing.
    MAPIProp(std::shared_ptr<MAPIValue> value, uint64_t count, uint32_t type, uint32_t name,
             std::shared_ptr<MAPIPropName> propName)
        : values_{std::move(value)},
          repeated_(count),
          multi_(true),
          type_(type),
          name_(name),
          propName_(std::move(propName)) {}

    /// Reads a property list at `location` in `data` (a TNEF property stream), leaving
    /// `location` just past the last byte read. Counts are cut to what the bytes left can
    /// hold, and every header and value decoded is charged to the message's report: once its
    /// budget is spent the list ends there (with a warning).
    static MAPIPropList propertiesOfMessage(const std::shared_ptr<const OutlookMessage>& message,
                                            const Bytes& data, size_t& location);
    static bool isMAPIPropType(uint32_t baseType);

    /// The single value, or the first of several; null when there is none.
    std::shared_ptr<MAPIValue> value() const {
        if (single_) return single_;
        return values_.empty() ? nullptr : values_.front();
    }
    const std::shared_ptr<MAPIValue>& singleValue() const { return single_; }
    /// The distinct values: for a repeated zero-size value, that one value.
    const std::vector<std::shared_ptr<MAPIValue>>& values() const { return values_; }
    /// How many values the property has, repeated ones counted.
    uint64_t valueCount() const { return repeated_ ? *repeated_ : values_.size(); }
    bool isMultiValued() const { return multi_; }
    uint32_t type() const { return type_; }
    uint32_t name() const { return name_; }
    uint32_t tag() const { return (name_ << 16) | (type_ & 0xFFFF); }
    const std::shared_ptr<MAPIPropName>& propName() const { return propName_; }
    void setPropName(std::shared_ptr<MAPIPropName> n) { propName_ = std::move(n); }

    /// "<MAPIProp: 0x…>{tag = PR_SUBJECT, value = …}" (or "id = 0x8238, " for unknown tags)
    std::string description() const;

  private:
    std::shared_ptr<MAPIValue> single_;
    std::vector<std::shared_ptr<MAPIValue>> values_;
    std::optional<uint64_t> repeated_;
    bool multi_ = false;
    uint32_t type_;
    uint32_t name_;
    std::shared_ptr<MAPIPropName> propName_;
};

}  // namespace qb
