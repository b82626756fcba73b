// SPDX-License-Identifier: Apache-2.0
#include "support/EmlReport.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qb::test {

namespace fs = std::filesystem;

bool havePythonEmail() {
    static const bool ok = std::system("python3 -c 'import email.policy' >/dev/null 2>&1") == 0;
    return ok;
}

std::optional<Dictionary> pythonEmlReport(const std::vector<std::string>& messages) {
    if (!havePythonEmail()) return std::nullopt;
    const fs::path dir = fs::temp_directory_path() / ("qb-eml-" + std::to_string(::getpid()) + "-" +
                                                      std::to_string(std::rand()));
    fs::create_directories(dir);
    std::string args;
    for (size_t i = 0; i < messages.size(); ++i) {
        const fs::path p = dir / (std::to_string(i) + ".eml");
        std::ofstream(p, std::ios::binary) << messages[i];
        args += " " + p.string();
    }
    const fs::path script = fs::path(QB_SOURCE_DIR) / "tests" / "support" / "eml_report.py";
    const std::string cmd = "python3 " + script.string() + " " + (dir / "out.json").string() + args;
    std::optional<Dictionary> result;
    if (std::system(cmd.c_str()) == 0) {
        std::ifstream in(dir / "out.json");
        const Dictionary byPath = Dictionary::parse(in);
        Dictionary out = Dictionary::array();
        for (size_t i = 0; i < messages.size(); ++i)
            out.push_back(byPath.at((dir / (std::to_string(i) + ".eml")).string()));
        result = std::move(out);
    }
    fs::remove_all(dir);
    return result;
}

}  // namespace qb::test
