// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/Log.h"

namespace qb::test {

// Collects the library's log lines while it lives.
class LogCapture {
  public:
    LogCapture() {
        previous_ = setLogSink([this](std::string_view line) { lines.emplace_back(line); });
    }
    ~LogCapture() { setLogSink(std::move(previous_)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines;

  private:
    LogSink previous_;
};

}  // namespace qb::test
