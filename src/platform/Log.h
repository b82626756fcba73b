// The log lines the readers write about odd input go to one replaceable sink; tests swap it
// to assert on the exact lines.
#pragma once

#include <fmt/format.h>

#include <functional>
#include <string_view>

namespace qb {

// Receives every log line the library writes. The default sink writes to standard error.
using LogSink = std::function<void(std::string_view line)>;

// Replaces the sink; returns the one it replaced. An empty sink silences the library.
LogSink setLogSink(LogSink sink);

void log(std::string_view line);

template <typename... Args>
void logf(fmt::format_string<Args...> format, Args&&... args) {
    log(fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace qb
