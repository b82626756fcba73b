// A whole message as one RFC 2822 message (.eml).
#pragma once

#include <memory>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/ReadError.h"

namespace qb {

// The message, its bodies, attachments and nested messages as one MIME message. The same
// input always gives the same bytes.
Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message);

// Writes rfc822Data to `path`, whole or not at all (see writeFileWhole); the size written,
// or a "POSIX" error naming the path.
[[nodiscard]] Expected<uint64_t> exportToRFC822(
    const std::shared_ptr<const OutlookMessage>& message, const std::string& path);

}  // namespace qb
