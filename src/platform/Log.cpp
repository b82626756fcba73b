// SPDX-License-Identifier: Apache-2.0
// The sink is process-wide and called under a lock, so lines from worker threads never mix.
#include "platform/Log.h"

#include <cstdio>
#include <mutex>

namespace qb {

namespace {

std::mutex& sinkMutex() {
    static std::mutex m;
    return m;
}

LogSink& currentSink() {
    static LogSink sink = [](std::string_view line) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    };
    return sink;
}

}  // namespace

LogSink setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex());
    LogSink previous = std::move(currentSink());
    currentSink() = std::move(sink);
    return previous;
}

void log(std::string_view line) {
    std::lock_guard lock(sinkMutex());
    if (currentSink()) currentSink()(line);
}

}  // namespace qb
