// SPDX-License-Identifier: Apache-2.0
// A folder of its own for each test, and the whole content of a file.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace qb::test {

inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// A new, empty folder named after `prefix`, the process and the running test.
inline std::filesystem::path makeTestFolder(const std::string& prefix) {
    const auto dir = std::filesystem::temp_directory_path() /
                     (prefix + "-" + std::to_string(::getpid()) + "-" +
                      testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

// What a command run by runCommand did: its exit status (-1 when a signal ended it) and
// everything it wrote.
struct RunResult {
    int status;
    std::string out, err;
};

// Runs the shell command `command` (already shell-safe) with `input` as its standard input,
// keeping its outputs in files of `dir`.
inline RunResult runCommand(const std::filesystem::path& dir, const std::string& command,
                            const std::string& input = "") {
    const auto in = dir / "stdin", out = dir / "stdout", err = dir / "stderr";
    std::ofstream(in, std::ios::binary) << input;
    const std::string line =
        command + " <" + in.string() + " >" + out.string() + " 2>" + err.string();
    const int raw = std::system(line.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), slurp(err)};
}

}  // namespace qb::test
