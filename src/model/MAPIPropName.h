// SPDX-License-Identifier: Apache-2.0
// A named property's identity (property set plus number or string), attached to properties
// by both readers and matched by the named-property lookups.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/Export.h"

namespace qb {

/// The identity of a named property: its property set and a number or a name.
class QB_API MAPIPropName {
  public:
    MAPIPropName(std::optional<Bytes> guid, uint32_t propID, std::optional<std::string> name)
        : guid_(std::move(guid)), propID_(propID), name_(std::move(name)) {}

    const std::optional<Bytes>& GUID() const { return guid_; }
    uint32_t propID() const { return propID_; }
    const std::optional<std::string>& name() const { return name_; }

    /// "{GUID = {00020329-0000-0000-C000-000000000046}, propID = 0x8238, name = ...}"
    std::string description() const;

  private:
    std::optional<Bytes> guid_;
    uint32_t propID_;
    std::optional<std::string> name_;
};

/// Registry form of a 16-byte GUID stored little-endian in its first three fields.
QB_API std::string formatGUID(const Bytes& guid);

}  // namespace qb
