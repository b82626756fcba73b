// SPDX-License-Identifier: Apache-2.0
// What every command does with an input: open it through the front door, report failures and
// warnings in one format, and turn the outcome into an exit status.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "api/OpenMessage.h"
#include "model/OutlookMessage.h"
#include "platform/Bytes.h"
#include "platform/ReadError.h"

namespace qb::cli {

// A file opened as a message: `message`, or the reason there is none in `error` (a "POSIX"
// error for a file that cannot be read). What a message could not read is in its report.
struct OpenedInput {
    std::string path;
    MessageFormat format = MessageFormat::TNEF;
    std::shared_ptr<OutlookMessage> message;
    std::optional<ReadError> error;
    // Mapped-input faults counted before the file was read (see mappedInputFaults).
    uint64_t faultsBefore = 0;
};

// The most a non-regular input (pipe, device, standard input) is read to; --max-size.
void setMaxInputSize(uint64_t bytes);
uint64_t maxInputSize();
// "2G", "512M", "64K" or a plain byte count; nothing when it is none of these.
std::optional<uint64_t> parseByteSize(const std::string& text);

// Reads `path` ("-" for standard input) and opens it by its content.
OpenedInput openInput(const std::string& path);

// "quillbox: <path>: <reason>" on standard error.
void reportFailure(const std::string& path, const std::string& reason);
// "quillbox: <path>: <description> (at offset N)" on standard error.
void reportFailure(const std::string& path, const ReadError& error);

// Exit statuses.
inline constexpr int kExitOK = 0, kExitFailed = 1, kExitUsage = 2, kExitPartial = 3;

// Once a command is done with an input: its warnings on standard error as
// "quillbox: FILE: warning: TEXT (at offset N)", a failure when the file changed while it
// was read, and the input's exit status (`status` is what the command found itself:
// kExitOK or kExitFailed). Failure outranks a partial read.
int finishInput(const OpenedInput& in, int status);
// The worse of two exit statuses: failed, then partial, then OK.
int worseStatus(int a, int b);

// Runs `body` for one input; memory running out or any other exception becomes a failure
// naming the file instead of ending the process. While it runs, `currentInputPath` is `path`.
int guardedInput(const std::string& path, const std::function<int()>& body);

// The input this thread reads or exports now, so that the library's log lines can name it;
// empty between inputs.
const std::string& currentInputPath();

}  // namespace qb::cli
