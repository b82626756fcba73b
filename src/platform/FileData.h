// SPDX-License-Identifier: Apache-2.0
// Getting an input's bytes: the command line and the front door read files and standard
// input through this before any reader sees them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/Export.h"

namespace qb {

/// What is read of an input that is not a regular file (a pipe, a device, standard input)
/// unless the caller sets another limit.
inline constexpr uint64_t kDefaultMaxInputSize = uint64_t(2) << 30;

/// The whole content of a file, or of standard input for "-". Regular files are mapped
/// read-only rather than copied; anything else is read up to `maxSize` bytes, and past that
/// the read fails with EFBIG. A FIFO without a writer reads as empty instead of waiting. On
/// failure returns nothing and sets `error` to the reason and `errorCode` to the errno value.
QB_API std::optional<Bytes> readFileData(const std::string& path, std::string* error = nullptr,
                                         int* errorCode = nullptr,
                                         uint64_t maxSize = kDefaultMaxInputSize);

/// How many times a mapped input was found cut short while this thread read it (the file
/// shrank after it was mapped). The missing pages read as zeros instead of stopping the process, so
/// a caller compares this before and after using an input to know that what it read is not
/// the file.
QB_API uint64_t mappedInputFaults();

}  // namespace qb
