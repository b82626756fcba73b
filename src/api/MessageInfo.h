// SPDX-License-Identifier: Apache-2.0
// What a message is, as one `info --json` record: the Message object, the error object and
// the read-report fields, shared by the command line and the Python module.
#pragma once

#include <optional>
#include <string>

#include "api/OpenMessage.h"
#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/Dictionary.h"
#include "platform/ReadError.h"

namespace qb {

// The bodies a message carries, each absent when it has none: `plain` is PR_BODY (or the
// TNEF body record) in UTF-8, `html` PR_BODY_HTML as stored, `rtf` the decompressed RTF.
struct MessageBodies {
    std::optional<std::string> plain;
    std::optional<Bytes> html;
    std::optional<Bytes> rtf;
};
MessageBodies messageBodies(const OutlookMessage& message);

// The Message object of the README's schema; nested messages are included down to the
// readers' own depth limit.
Dictionary messageInfoJSON(const OutlookMessage& message);

// One record for an input that opened: file, format, message, and partial/warnings when it
// was read only in part.
Dictionary infoRecord(const std::string& file, MessageFormat format, const OutlookMessage& message);

// One record for an input that could not be read: file and the error object (domain, code,
// description, message with the file name filled in, offset when known).
Dictionary errorRecord(const std::string& file, const ReadError& error);

// A record as one line of JSON (no newline); invalid UTF-8 in a value becomes U+FFFD.
std::string infoLine(const Dictionary& record);

}  // namespace qb
