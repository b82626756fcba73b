// SPDX-License-Identifier: Apache-2.0
#include "support/VCardReport.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qb::test {

namespace fs = std::filesystem;

namespace {
constexpr const char* kPython = "/usr/bin/python3";
}

bool haveVobject() {
    static const bool ok =
        std::system((std::string(kPython) + " -c 'import vobject' >/dev/null 2>&1").c_str()) == 0;
    return ok;
}

std::optional<Dictionary> vobjectReport(const std::vector<std::string>& cards) {
    if (!haveVobject()) return std::nullopt;
    const fs::path dir = fs::temp_directory_path() / ("qb-vcf-" + std::to_string(::getpid()) + "-" +
                                                      std::to_string(std::rand()));
    fs::create_directories(dir);
    std::string args;
    for (size_t i = 0; i < cards.size(); ++i) {
        const fs::path p = dir / (std::to_string(i) + ".vcf");
        std::ofstream(p, std::ios::binary) << cards[i];
        args += " " + p.string();
    }
    const fs::path script = fs::path(QB_SOURCE_DIR) / "tests" / "support" / "vcard_report.py";
    const std::string cmd =
        std::string(kPython) + " " + script.string() + " " + (dir / "out.json").string() + args;
    std::optional<Dictionary> result;
    if (std::system(cmd.c_str()) == 0) {
        std::ifstream in(dir / "out.json");
        const Dictionary byPath = Dictionary::parse(in);
        Dictionary out = Dictionary::array();
        for (size_t i = 0; i < cards.size(); ++i)
            out.push_back(byPath.at((dir / (std::to_string(i) + ".vcf")).string()));
        result = std::move(out);
    }
    fs::remove_all(dir);
    return result;
}

}  // namespace qb::test
