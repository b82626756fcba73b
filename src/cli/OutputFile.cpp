#include "cli/OutputFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/MessageInput.h"

namespace qb::cli {

bool writeOutput(const std::optional<std::string>& output, const Bytes& data,
                 const std::string& inputName) {
    const bool toStdout = !output || *output == "-";
    std::FILE* f = toStdout ? stdout : std::fopen(output->c_str(), "wb");
    if (!f) {
        reportFailure(inputName, *output + ": " + std::strerror(errno));
        return false;
    }
    bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
    ok = (toStdout ? std::fflush(f) : std::fclose(f)) == 0 && ok;
    if (!ok)
        reportFailure(inputName, (toStdout ? std::string("standard output") : *output) + ": " +
                                     std::strerror(errno));
    return ok;
}

bool writeStandardOutput(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

void reportStandardOutputFailure() {
    std::fprintf(stderr, "quillbox: standard output: %s\n", std::strerror(errno));
}

}  // namespace qb::cli
