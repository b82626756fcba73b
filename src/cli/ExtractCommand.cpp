// quillbox extract and eml: the front door's exports, with progress and one line per failure.
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/ExtractFolder.h"
#include "cli/Commands.h"
#include "cli/Interrupts.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "cli/StatusLine.h"

namespace qb::cli {

namespace {

struct Totals {
    size_t done = 0, failed = 0, files = 0;
    uint64_t bytes = 0;
};

// Writes every export of one message, each path on standard output; the input's status.
int extractMessage(const OpenedInput& in, int parentFd, const std::string& parent,
                   bool originalBodies, Totals& totals) {
    FolderExportOptions options;
    options.originalBodies = originalBodies;
    options.cancel = &interruptFlag();
    options.fileWritten = [&](const ExportedFile& file) {
        printOutputLine(file.path);
        ++totals.files;
        totals.bytes += file.size;
    };
    options.fileFailed = [&](const std::string& path, int error) {
        reportFailure(in.path, fmt::format("{}: {}", path, std::strerror(error)));
    };
    auto result =
        exportToFolder(in.message, parentFd, parent, folderNameForInput(in.path), options);
    if (!result) {
        reportFailure(in.path, result.error());
        return kExitFailed;
    }
    if (!result->notWritten.empty()) {
        std::string names;
        for (const auto& n : result->notWritten)
            names += (names.empty() ? "" : ", ") + n;
        if (result->budgetExceeded)
            reportFailure(in.path, fmt::format("the exports would pass the {} bytes this input may "
                                               "produce; stopped; not written: {}",
                                               *result->budgetExceeded, names));
        else
            reportFailure(in.path, "interrupted; not written: " + names);
    }
    return result->complete ? kExitOK : kExitFailed;
}

}  // namespace

int runExtract(const std::vector<std::string>& files, const std::optional<std::string>& outDir,
               bool originalBodies) {
    const std::string parent = outDir.value_or(".");
    // Opened once for every input, so that a path swapped for a link later changes nothing.
    const int parentFd = makeDirectories(parent) ? openFolder(parent) : -1;
    if (parentFd < 0) {
        std::fprintf(stderr, "quillbox: %s: cannot create the folder: %s\n", parent.c_str(),
                     std::strerror(errno));
        return kExitFailed;
    }
    installInterruptHandlers();
    enableStatusLine(files.size() > 1);
    Totals totals;
    int status = kExitOK;
    for (size_t i = 0; i < files.size() && !interrupted(); ++i) {
        showStatusLine(fmt::format("[{}/{}] {}", i + 1, files.size(), files[i]));
        const int fileStatus = guardedInput(files[i], [&] {
            OpenedInput in = openInput(files[i]);
            if (!in.message) {
                reportFailure(files[i], *in.error);
                return finishInput(in, kExitFailed);
            }
            int result = extractMessage(in, parentFd, parent, originalBodies, totals);
            result = finishInput(in, result);
            return result;
        });
        ++(fileStatus == kExitFailed ? totals.failed : totals.done);
        status = worseStatus(status, fileStatus);
    }
    ::close(parentFd);
    finishStatusLine();
    if (interrupted()) status = kExitFailed;
    std::fprintf(stderr, "quillbox: %zu done, %zu failed; %zu files, %llu bytes written to %s\n",
                 totals.done, totals.failed, totals.files,
                 static_cast<unsigned long long>(totals.bytes), parent.c_str());
    return status;
}

int runEml(const std::string& file, const std::optional<std::string>& output) {
    return guardedInput(file, [&] {
        OpenedInput in = openInput(file);
        if (!in.message) {
            reportFailure(file, *in.error);
            return finishInput(in, kExitFailed);
        }
        bool ok;
        if (output && *output != "-") {
            auto written = exportToRFC822(in.message, *output);
            if (!written) reportFailure(file, written.error());
            ok = bool(written);
        } else {
            auto message = rfc822Message(in.message);
            if (!message) reportFailure(file, message.error());
            ok = message && writeOutput(std::nullopt, *message, file);
        }
        return finishInput(in, ok ? kExitOK : kExitFailed);
    });
}

}  // namespace qb::cli
