// SPDX-License-Identifier: Apache-2.0
// Attribute lookups over a TNEF attribute list: the TNEF reader and its attachments, and the
// plain-text exporter and command line for what only a record carries (attBody).
#pragma once

#include <cstdint>
#include <memory>

#include "model/OutlookMessage.h"
#include "platform/Export.h"
#include "tnef/TNEFAttr.h"

namespace qb {

/// The first attribute with this id and type, in list order.
QB_API std::shared_ptr<TNEFAttr> findTNEFAttr(const TNEFAttrList& attrs, uint32_t id,
                                              uint32_t type);
/// Its value (a copy; no value when there is no such attribute).
QB_API TNEFAttrValue valueForTNEFName(const TNEFAttrList& attrs, uint32_t id, uint32_t type);

}  // namespace qb
