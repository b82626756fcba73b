// SPDX-License-Identifier: Apache-2.0
// quillbox extract and eml: the front door's exports, with progress and one line per failure;
// extract runs its inputs on worker threads and reports them in input order.
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>

#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/ExtractFolder.h"
#include "cli/Commands.h"
#include "cli/HeldOutput.h"
#include "cli/InputFiles.h"
#include "cli/Interrupts.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "cli/StatusLine.h"
#include "cli/WorkerPool.h"
#include "exporters/SafeFilename.h"

namespace qb::cli {

namespace {

// The folder names of all inputs, decided before any runs: an input whose name an earlier
// one has is numbered here, so that which of them gets which folder does not depend on
// which worker is first.
std::vector<std::string> folderNamesFor(const std::vector<InputFile>& inputs) {
    std::set<std::string> taken;
    std::vector<std::string> names;
    names.reserve(inputs.size());
    for (const auto& input : inputs) {
        const std::string safe = safeFilename(folderNameForInput(input.path), "message");
        for (unsigned n = 1;; ++n) {
            std::string candidate = numberedFilename(safe, n);
            if (taken.insert(candidate).second) {
                names.push_back(std::move(candidate));
                break;
            }
        }
    }
    return names;
}

struct Totals {
    size_t done = 0, failed = 0, files = 0;
    uint64_t bytes = 0;
};

// Writes every export of one message, each path on standard output; the input's status.
int extractMessage(const OpenedInput& in, const std::string& folder, int parentFd,
                   const std::string& parent, bool originalBodies, Totals& totals) {
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
    auto result = exportToFolder(in.message, parentFd, parent, folder, options);
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
               bool originalBodies, const BatchOptions& batch) {
    const std::string parent = outDir.value_or(".");
    // Opened once for every input, so that a path swapped for a link later changes nothing.
    const int parentFd = makeDirectories(parent) ? openFolder(parent) : -1;
    if (parentFd < 0) {
        std::fprintf(stderr, "quillbox: %s: cannot create the folder: %s\n", parent.c_str(),
                     std::strerror(errno));
        return kExitFailed;
    }
    installInterruptHandlers();
    const InputList inputs = inputFiles(files, batch.recursive);
    int status = kExitOK;
    for (const auto& [path, reason] : inputs.unreadable) {
        reportFailure(path, "cannot read the folder: " + reason);
        status = kExitFailed;
    }
    const size_t count = inputs.files.size();
    const std::vector<std::string> folders = folderNamesFor(inputs.files);
    enableStatusLine(count > 1);
    struct Result {
        int status = kExitFailed;
        bool skipped = false;
        Totals totals;
        HeldOutput output;
    };
    std::vector<Result> results(count);
    // Held only when workers run inputs side by side; alone, an input prints as it goes.
    const bool hold = batch.jobs > 1 && inputs.files.size() > 1;
    Totals totals;
    size_t skipped = 0;
    auto work = [&](size_t i) {
        const InputFile& input = inputs.files[i];
        Result& r = results[i];
        std::optional<HeldOutput::Scope> scope;
        if (hold) scope.emplace(r.output);
        r.status = guardedInput(input.path, [&] {
            OpenedInput in = openInput(input.path);
            if (!in.message) {
                if (input.found && isNotAMessage(*in.error)) {
                    r.skipped = true;
                    return kExitOK;
                }
                reportFailure(input.path, *in.error);
                return finishInput(in, kExitFailed);
            }
            return finishInput(
                in, extractMessage(in, folders[i], parentFd, parent, originalBodies, r.totals));
        });
    };
    auto deliver = [&](size_t i) {
        Result& r = results[i];
        showStatusLine(fmt::format("[{}/{}] {}", i + 1, count, inputs.files[i].path));
        r.output.release();
        if (r.skipped) {
            ++skipped;
        } else {
            ++(r.status == kExitFailed ? totals.failed : totals.done);
            totals.files += r.totals.files;
            totals.bytes += r.totals.bytes;
            status = worseStatus(status, r.status);
        }
        r = Result();
    };
    runInOrder(count, batch.jobs, work, deliver, [] { return interrupted(); });
    ::close(parentFd);
    finishStatusLine();
    if (interrupted()) status = kExitFailed;
    const std::string skippedText =
        skipped ? fmt::format(", {} skipped (not messages)", skipped) : std::string();
    std::fprintf(stderr, "quillbox: %zu done, %zu failed%s; %zu files, %llu bytes written to %s\n",
                 totals.done, totals.failed, skippedText.c_str(), totals.files,
                 static_cast<unsigned long long>(totals.bytes), parent.c_str());
    return status;
}

int runEml(const std::string& file, const std::optional<std::string>& output) {
    // The message goes out as it is made; Ctrl-C stops it and leaves no file cut short.
    installInterruptHandlers();
    return guardedInput(file, [&] {
        OpenedInput in = openInput(file);
        if (!in.message) {
            reportFailure(file, *in.error);
            return finishInput(in, kExitFailed);
        }
        auto written =
            output && *output != "-"
                ? exportToRFC822(in.message, *output, 0, &interruptFlag())
                : writeRFC822(in.message, STDOUT_FILENO, "standard output", 0, &interruptFlag());
        if (!written) reportFailure(file, written.error());
        return finishInput(in, written ? kExitOK : kExitFailed);
    });
}

}  // namespace qb::cli
