// SPDX-License-Identifier: Apache-2.0
// A whole message as one RFC 2822 message (.eml).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "mime/MimeBody.h"
#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/Export.h"
#include "platform/ReadError.h"

namespace qb {

/// The message, its bodies, attachments and nested messages as one MIME message, kept as the
/// pieces it is written from (attachments are encoded only as it is written). The same input
/// always gives the same bytes.
QB_API MimeBody rfc822Body(const std::shared_ptr<const OutlookMessage>& message);

/// rfc822Body in one buffer.
QB_API Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message);

/// rfc822Data, or an error when it is larger than `outputBudget` (0: outputBudgetFor the
/// message), so that a crafted input cannot fill a disk.
[[nodiscard]] QB_API Expected<Bytes> rfc822Message(
    const std::shared_ptr<const OutlookMessage>& message, uint64_t outputBudget = 0);

/// Writes the message to `path` as it is produced, whole or not at all (see writeFileWhole):
/// nothing is written when it would pass the budget. The size written, or the reason nothing
/// was. Once `cancel` (when given) is true, the write stops and leaves nothing behind.
[[nodiscard]] QB_API Expected<uint64_t> exportToRFC822(
    const std::shared_ptr<const OutlookMessage>& message, const std::string& path,
    uint64_t outputBudget = 0, const std::atomic<bool>* cancel = nullptr);

// The same to an open descriptor (standard output), named `name` in errors; a failed write
// may leave part of the message there.
[[nodiscard]] Expected<uint64_t> writeRFC822(const std::shared_ptr<const OutlookMessage>& message,
                                             int fd, const std::string& name,
                                             uint64_t outputBudget = 0,
                                             const std::atomic<bool>* cancel = nullptr);

}  // namespace qb
