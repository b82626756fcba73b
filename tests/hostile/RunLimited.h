// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qb::test {

// How a quillbox run under limits ended.
struct LimitedRun {
    bool exited = false;  // false: killed by a signal (an abort, the CPU limit)
    int status = -1;      // exit status, or the signal
    std::string out, err;
};

// Runs quillbox with `args` under an address-space limit of 1 GB (not under AddressSanitizer,
// which needs more to start) and 20 s of CPU, output captured in files in `dir`. A
// regression then fails the test instead of taking the machine down.
// With `maxFileSize`, no file it writes may grow past that many bytes (the write fails as on
// a full disk).
LimitedRun runLimited(const std::vector<std::string>& args, const std::filesystem::path& dir,
                      uint64_t maxFileSize = 0);

// Starts quillbox the same way without waiting; its output goes to dir/stdout.txt and
// dir/stderr.txt.
int startLimited(const std::vector<std::string>& args, const std::filesystem::path& dir,
                 uint64_t maxFileSize = 0);
// Waits for a run started by startLimited.
LimitedRun finishLimited(int pid, const std::filesystem::path& dir);

}  // namespace qb::test
