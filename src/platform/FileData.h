#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"

namespace qb {

// The whole content of a file, or of standard input for "-". Regular files are mapped
// read-only rather than copied. On failure returns nothing and sets `error` to the reason and
// `errorCode` to the errno value.
std::optional<Bytes> readFileData(const std::string& path, std::string* error = nullptr,
                                  int* errorCode = nullptr);

}  // namespace qb
