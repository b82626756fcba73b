// SPDX-License-Identifier: Apache-2.0
// The texts of a ReadError as a person reads them.
#include "platform/ReadError.h"

#include <fmt/format.h>

namespace qb {

std::string ReadError::withFilename(const std::string& filename) const {
    std::string text = description;
    if (auto at = text.find("%@"); at != std::string::npos) text.replace(at, 2, filename);
    return text;
}

std::string ReadError::message(const std::string& filename) const {
    std::string text = withFilename(filename);
    if (offset) text += fmt::format(" (at offset {})", *offset);
    return text;
}

}  // namespace qb
