// SPDX-License-Identifier: Apache-2.0
// Property lookups by tag over a message's or attachment's property list; the readers, the
// model and the exporters all find their fields this way.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "model/MAPIProp.h"
#include "platform/Export.h"

namespace qb {

/// Lookups over property lists. A request for an 8-bit string (0x001E) also finds the
/// Unicode form (0x001F); other types must match exactly.
QB_API std::shared_ptr<MAPIProp> findPropID(const MAPIPropList& props, uint32_t id, uint32_t type);
/// The decoded first value of the property with this tag (id << 16 | type); no value when
/// the list is absent or holds no such property.
QB_API MAPIData valueForPropID(const MAPIPropList* props, uint32_t id, uint32_t type);
QB_API MAPIData valueForProperty(const MAPIPropList* props, uint32_t tag);

/// Typed forms of valueForProperty: nothing when absent or of another kind.
QB_API std::optional<std::string> stringForProperty(const MAPIPropList* props, uint32_t tag);
QB_API std::optional<Bytes> bytesForProperty(const MAPIPropList* props, uint32_t tag);
QB_API std::optional<uint32_t> uint32ForProperty(const MAPIPropList* props, uint32_t tag);
QB_API std::optional<Date> dateForProperty(const MAPIPropList* props, uint32_t tag);

}  // namespace qb
