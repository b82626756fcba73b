// SPDX-License-Identifier: Apache-2.0
// Where the library's log lines go: one replaceable sink, so an application (or a test) decides
// what becomes of the notes the readers write about odd input.
#pragma once

#include <functional>
#include <string_view>

#include "platform/Export.h"

namespace qb {

/// Receives every log line the library writes. The default sink writes to standard error.
using LogSink = std::function<void(std::string_view line)>;

/// Replaces the sink and returns the one it replaced; an empty sink silences the library.
QB_API LogSink setLogSink(LogSink sink);

}  // namespace qb
