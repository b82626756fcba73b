// SPDX-License-Identifier: Apache-2.0
// The commands' single outputs (eml -o, rtf -o): a file written whole, or standard output.
#include "cli/OutputFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "api/WholeFile.h"
#include "cli/HeldOutput.h"
#include "cli/MessageInput.h"

namespace qb::cli {

bool writeOutput(const std::optional<std::string>& output, const Bytes& data,
                 const std::string& inputName) {
    if (output && *output != "-") {
        if (writeFileWhole(*output, data)) return true;
        reportFailure(inputName, *output + ": " + std::strerror(errno));
        return false;
    }
    const bool ok =
        std::fwrite(data.data(), 1, data.size(), stdout) == data.size() && std::fflush(stdout) == 0;
    if (!ok) reportFailure(inputName, std::string("standard output: ") + std::strerror(errno));
    return ok;
}

bool writeStandardOutput(std::string_view text) {
    if (auto* held = HeldOutput::current()) {
        held->add(HeldOutput::Kind::OutputText, std::string(text));
        return true;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

void reportStandardOutputFailure() {
    std::fprintf(stderr, "quillbox: standard output: %s\n", std::strerror(errno));
}

}  // namespace qb::cli
