// SPDX-License-Identifier: Apache-2.0
// The TNEF reader's own error values; the front door turns them into its ReadError.
#pragma once

#include <string>

#include "platform/Export.h"

namespace qb {

inline constexpr const char* kTNEFErrorDomain = "TNEFErrorDomain";

enum TNEFErrorCode {
    kTNEFErrorUnrecognized = 2,  // no TNEF signature, and no stream found inside the data
    kTNEFErrorEmpty = 3,         // the data is empty
    kTNEFErrorTruncated = 4,     // a record runs past the end of the data
};

struct QB_API TNEFError {
    std::string domain;
    int code = 0;
    std::string description;
};

/// The error for `code`, its description from the library's string table.
QB_API TNEFError makeTNEFError(TNEFErrorCode code);

}  // namespace qb
