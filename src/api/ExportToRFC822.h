// SPDX-License-Identifier: Apache-2.0
// A whole message as one RFC 2822 message (.eml).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/Export.h"
#include "platform/ReadError.h"

namespace qb {

/// The message, its bodies, attachments and nested messages as one MIME message. The same
/// input always gives the same bytes.
QB_API Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message);

/// rfc822Data, or an error when it is larger than `outputBudget` (0: outputBudgetFor the
/// message), so that a crafted input cannot fill a disk.
[[nodiscard]] QB_API Expected<Bytes> rfc822Message(
    const std::shared_ptr<const OutlookMessage>& message, uint64_t outputBudget = 0);

/// Writes rfc822Message to `path`, whole or not at all (see writeFileWhole); the size
/// written, or the reason nothing was.
[[nodiscard]] QB_API Expected<uint64_t> exportToRFC822(
    const std::shared_ptr<const OutlookMessage>& message, const std::string& path,
    uint64_t outputBudget = 0);

}  // namespace qb
