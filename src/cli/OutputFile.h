#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"

namespace qb::cli {

// Writes `data` to the file `output`, or to standard output when none is given or it is
// "-". Reports a failure against `inputName` and returns false when it cannot.
bool writeOutput(const std::optional<std::string>& output, const Bytes& data,
                 const std::string& inputName);

}  // namespace qb::cli
