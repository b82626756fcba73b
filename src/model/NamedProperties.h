// SPDX-License-Identifier: Apache-2.0
// Named properties by their identity (property set and number), the way both readers can
// answer: a .msg file numbers them 0x8000 + index and keeps (set, number) in its name map,
// a TNEF stream carries (set, number) with each property. The exporters for meetings,
// tasks and contacts look their fields up here.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "model/MAPIProp.h"

namespace qb {

// A property set GUID in the byte order it is stored in (first three fields little-endian).
class PropertySet {
  public:
    // From the registry form "{00062002-0000-0000-C000-000000000046}"; checked at compile time.
    consteval explicit PropertySet(std::string_view registry) : bytes_{} {
        if (registry.size() != 38 || registry[0] != '{' || registry[37] != '}')
            throw "a property set is written {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
        // Where each stored byte's two hex digits sit in the registry form.
        constexpr std::array<size_t, 16> kDigits{7,  5,  3,  1,  12, 10, 17, 15,
                                                 20, 22, 25, 27, 29, 31, 33, 35};
        for (size_t i = 0; i < kDigits.size(); ++i)
            bytes_[i] = uint8_t(hex(registry[kDigits[i]]) << 4 | hex(registry[kDigits[i] + 1]));
    }

    bool matches(const Bytes& guid) const;
    const std::array<uint8_t, 16>& bytes() const { return bytes_; }

  private:
    static consteval uint8_t hex(char c) {
        if (c >= '0' && c <= '9') return uint8_t(c - '0');
        if (c >= 'A' && c <= 'F') return uint8_t(c - 'A' + 10);
        if (c >= 'a' && c <= 'f') return uint8_t(c - 'a' + 10);
        throw "not a hex digit";
    }
    std::array<uint8_t, 16> bytes_;
};

inline constexpr PropertySet PSETID_Appointment{"{00062002-0000-0000-C000-000000000046}"};
inline constexpr PropertySet PSETID_Task{"{00062003-0000-0000-C000-000000000046}"};
inline constexpr PropertySet PSETID_Address{"{00062004-0000-0000-C000-000000000046}"};
inline constexpr PropertySet PSETID_Common{"{00062008-0000-0000-C000-000000000046}"};
inline constexpr PropertySet PSETID_Meeting{"{6ED8DA90-450B-101B-98DA-00AA003F1305}"};

// One named property: its set, its number (LID) and its base type.
struct NamedProperty {
    const PropertySet& set;
    uint32_t lid;
    uint32_t type;
};

// The property named (set, lid) of this type; an 8-bit string request also finds the Unicode
// form, as findPropID does. A property whose set is unknown is matched by its number alone;
// one of another set never is.
std::shared_ptr<MAPIProp> findNamedProperty(const MAPIPropList& props, const NamedProperty& p);

// The decoded first value; nothing when the list is absent or lacks the property.
MAPIData valueForNamedProperty(const MAPIPropList* props, const NamedProperty& p);
std::optional<std::string> stringForNamedProperty(const MAPIPropList* props,
                                                  const NamedProperty& p);
std::optional<Bytes> bytesForNamedProperty(const MAPIPropList* props, const NamedProperty& p);
std::optional<uint32_t> uint32ForNamedProperty(const MAPIPropList* props, const NamedProperty& p);
std::optional<bool> boolForNamedProperty(const MAPIPropList* props, const NamedProperty& p);
std::optional<Date> dateForNamedProperty(const MAPIPropList* props, const NamedProperty& p);

}  // namespace qb
