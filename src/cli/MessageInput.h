#pragma once

#include <memory>
#include <optional>
#include <string>

#include "model/OutlookMessage.h"
#include "platform/Bytes.h"

namespace qb::cli {

enum class InputFormat { TNEF, MSG, Unknown };

const char* formatName(InputFormat format);

// A file opened as a message. `message` is null when it could not be read; `error` holds
// the reason, also when a damaged message was read only in part.
struct OpenedInput {
    std::string path;
    InputFormat format = InputFormat::Unknown;
    std::shared_ptr<OutlookMessage> message;
    std::optional<std::string> error;
    // The error's domain and code: the reader's, or "POSIX" and errno for a file that
    // cannot be read.
    std::string errorDomain;
    int errorCode = 0;
};

// Reads `path` ("-" for standard input) and opens it by its content.
OpenedInput openInput(const std::string& path);

// "quillbox: <path>: <reason>" on standard error.
void reportFailure(const std::string& path, const std::string& reason);
// A reader's error text with the file name in the place it leaves open ("%@").
std::string filledErrorText(const std::string& path, const std::string& reason);

}  // namespace qb::cli
