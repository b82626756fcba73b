// SPDX-License-Identifier: Apache-2.0
// The log lines the readers write about odd input go to one replaceable sink; tests swap it
// to assert on the exact lines.
#pragma once

#include <fmt/format.h>

#include <string_view>

#include "platform/LogSink.h"

namespace qb {

void log(std::string_view line);

template <typename... Args>
void logf(fmt::format_string<Args...> format, Args&&... args) {
    log(fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace qb
