// SPDX-License-Identifier: Apache-2.0
// The library's front door: bytes in, the right reader chosen by content, a message or the
// reason there is none.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/Export.h"
#include "platform/FileData.h"
#include "platform/ReadError.h"

namespace qb {

/// The front door's own errors: a mail (.eml) that carries no TNEF part to open.
inline constexpr const char* kOpenMessageErrorDomain = "QBErrorDomain";
inline constexpr int kOpenMessageErrorMailWithoutTNEF = 1;

enum class MessageFormat { TNEF, MSG };

/// "tnef" or "msg".
QB_API const char* formatName(MessageFormat format);

struct QB_API OpenedMessage {
    MessageFormat format = MessageFormat::TNEF;
    /// Never null. What it could not read is in its report(): warnings with offsets, and
    /// partial() when it was read only in part.
    std::shared_ptr<OutlookMessage> message;
};

/// Opens a TNEF stream (also one embedded in other bytes) or a .msg file, told apart by
/// content. A signed message gets the text and HTML of the MIME entity it carries as its
/// mimeBodyContent and mimeHtmlBodyContent (see api/SignedContent.h). A compound file that
/// holds no message fails with a description naming what it is instead ("... is not an
/// Outlook message: it is a Microsoft Word document.").
[[nodiscard]] QB_API Expected<OpenedMessage> openMessage(Bytes data);

/// The file's bytes (mapped when it is a regular file; "-" is standard input, read up to
/// `maxSize`), or a "POSIX" error with errno as its code.
[[nodiscard]] QB_API Expected<Bytes> readInput(const std::string& path,
                                               uint64_t maxSize = kDefaultMaxInputSize);

/// Reads the file at `path` (as readInput) and opens it (as openMessage): the one call a
/// program needs for a message on disk. Its errors are theirs: error().message(path) names
/// the file.
[[nodiscard]] QB_API Expected<OpenedMessage> openMessageFile(
    const std::string& path, uint64_t maxSize = kDefaultMaxInputSize);

}  // namespace qb
