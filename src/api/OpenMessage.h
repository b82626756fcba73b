// The library's front door: bytes in, the right reader chosen by content, a message or the
// reason there is none.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/FileData.h"
#include "platform/ReadError.h"

namespace qb {

enum class MessageFormat { TNEF, MSG };

// "tnef" or "msg".
const char* formatName(MessageFormat format);

struct OpenedMessage {
    MessageFormat format = MessageFormat::TNEF;
    // Never null. What it could not read is in its report(): warnings with offsets, and
    // partial() when it was read only in part.
    std::shared_ptr<OutlookMessage> message;
};

// Opens a TNEF stream (also one embedded in other bytes) or a .msg file, told apart by
// content. A compound file that holds no message fails with a description naming what it
// is instead ("... is not an Outlook message: it is a Microsoft Word document.").
[[nodiscard]] Expected<OpenedMessage> openMessage(Bytes data);

// The file's bytes (mapped when it is a regular file; "-" is standard input, read up to
// `maxSize`), or a "POSIX" error with errno as its code.
[[nodiscard]] Expected<Bytes> readInput(const std::string& path,
                                        uint64_t maxSize = kDefaultMaxInputSize);

}  // namespace qb
