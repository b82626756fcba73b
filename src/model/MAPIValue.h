// SPDX-License-Identifier: Apache-2.0
// Property values in the message model: a window onto the reader's buffer, decoded on first
// use into numbers, dates, text, bytes or an embedded message or storage.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

#include "platform/Bytes.h"
#include "platform/Date.h"
#include "platform/Export.h"
#include "platform/Lazy.h"

namespace qb {

class OutlookMessage;
class CFBEntry;

/// The MAPI null object (PT_NULL), as opposed to "no value".
struct QB_API NullValue {
    bool operator==(const NullValue&) const = default;
};

/// A decoded value. monostate means no value.
using MAPIData =
    std::variant<std::monostate, NullValue, uint16_t, uint32_t, float, double, int64_t, bool, Date,
                 std::string, Bytes, std::shared_ptr<OutlookMessage>, std::shared_ptr<CFBEntry>>;

/// One typed property value. It keeps the stream it came from and decodes on first use.
class QB_API MAPIValue {
  public:
    /// Records the value starting at `location` in `data`; for a message whose values are
    /// counted in the stream, moves `location` past the value (never beyond the end).
    static std::shared_ptr<MAPIValue> create(const Bytes& data, size_t& location, uint32_t type,
                                             uint32_t name,
                                             const std::shared_ptr<const OutlookMessage>& message);
    /// A value that owns a whole buffer (as the .msg reader gives them).
    static std::shared_ptr<MAPIValue> create(const Bytes& data, uint32_t type, uint32_t name,
                                             const std::shared_ptr<const OutlookMessage>& message);

    /// Size in a counted stream of a value of `baseType` whose bytes start at `location`.
    static uint64_t streamSize(const Bytes& data, size_t location, uint32_t baseType);

    const MAPIData& value() const;
    /// Gives the value before it is decoded (an object the reader has opened already).
    void presetValue(MAPIData value);

    uint32_t type() const { return type_; }
    uint32_t name() const { return name_; }
    void setName(uint32_t name) { name_ = name; }
    std::shared_ptr<const OutlookMessage> message() const { return message_.lock(); }
    const Bytes& rawData() const { return data_; }
    size_t rawLocation() const { return location_; }
    /// The undecoded bytes of a variable-length value (after its length field, in a counted
    /// stream); nothing when they run past the buffer.
    std::optional<Bytes> variableBytes() const;

    /// "<MAPIValue: 0x…>{type = PT_LONG, value = 3}"
    std::string description() const;

    MAPIValue(Bytes data, size_t location, uint32_t type, uint32_t name,
              std::weak_ptr<const OutlookMessage> message, bool counted)
        : data_(std::move(data)),
          location_(location),
          type_(type),
          name_(name),
          counted_(counted),
          message_(std::move(message)) {}

  private:
    MAPIData decode() const;
    std::optional<Bytes> countedBytes() const;

    Bytes data_;
    size_t location_;
    uint32_t type_;
    uint32_t name_;
    bool counted_;
    std::weak_ptr<const OutlookMessage> message_;
    Lazy<MAPIData> value_;
};

/// Short text for a decoded value: strings as they are, byte data as "<NSData>{length = N}",
/// booleans as YES/NO, dates in RFC 3339.
QB_API std::string describeMAPIData(const MAPIData& value);

template <typename T>
const T* valueAs(const MAPIData& v) {
    return std::get_if<T>(&v);
}

}  // namespace qb
