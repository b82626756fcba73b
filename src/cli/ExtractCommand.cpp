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

namespace qb::cli {

namespace {

// A progress line on a terminal: redrawn in place, cleared before anything else is printed.
class Progress {
  public:
    explicit Progress(bool enabled) : enabled_(enabled) {}
    void show(size_t index, size_t total, const std::string& file) {
        if (!enabled_) return;
        line_ = fmt::format("[{}/{}] {}", index, total, file);
        std::fprintf(stderr, "\r\033[K%s", line_.c_str());
        std::fflush(stderr);
    }
    void clear() {
        if (enabled_ && !line_.empty()) std::fputs("\r\033[K", stderr);
    }
    void redraw() {
        if (enabled_ && !line_.empty()) std::fprintf(stderr, "%s", line_.c_str());
    }
    void finish() {
        clear();
        line_.clear();
    }
    // Standard output only shares the screen with the line when it is a terminal too.
    void clearForOutput() {
        if (stdoutIsTerminal_) clear();
    }
    void redrawForOutput() {
        if (stdoutIsTerminal_) redraw();
    }

  private:
    bool enabled_;
    bool stdoutIsTerminal_ = ::isatty(STDOUT_FILENO);
    std::string line_;
};

// The folder for one input: the file's name without its extension.
std::string folderNameFor(const std::string& file) {
    if (file == "-") return "stdin";
    std::string name = file;
    while (name.size() > 1 && name.back() == '/')
        name.pop_back();
    if (const size_t slash = name.find_last_of('/'); slash != std::string::npos)
        name.erase(0, slash + 1);
    if (const size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

struct Totals {
    size_t done = 0, failed = 0, files = 0;
    uint64_t bytes = 0;
};

// Writes every export of one message, each path on standard output; the input's status.
int extractMessage(const OpenedInput& in, int parentFd, const std::string& parent,
                   bool originalBodies, Progress& progress, Totals& totals) {
    FolderExportOptions options;
    options.originalBodies = originalBodies;
    options.cancel = &interruptFlag();
    options.fileWritten = [&](const ExportedFile& file) {
        progress.clearForOutput();
        std::printf("%s\n", file.path.c_str());
        std::fflush(stdout);
        progress.redrawForOutput();
        ++totals.files;
        totals.bytes += file.size;
    };
    options.fileFailed = [&](const std::string& path, int error) {
        progress.clear();
        reportFailure(in.path, fmt::format("{}: {}", path, std::strerror(error)));
        progress.redraw();
    };
    auto result = exportToFolder(in.message, parentFd, parent, folderNameFor(in.path), options);
    if (!result) {
        progress.clear();
        reportFailure(in.path, result.error());
        progress.redraw();
        return kExitFailed;
    }
    if (!result->notWritten.empty()) {
        std::string names;
        for (const auto& n : result->notWritten)
            names += (names.empty() ? "" : ", ") + n;
        progress.clear();
        if (result->budgetExceeded)
            reportFailure(in.path, fmt::format("the exports would pass the {} bytes this input may "
                                               "produce; stopped; not written: {}",
                                               *result->budgetExceeded, names));
        else
            reportFailure(in.path, "interrupted; not written: " + names);
        progress.redraw();
    }
    return result->complete ? kExitOK : kExitFailed;
}

}  // namespace

int runExtract(const std::vector<std::string>& files, const std::optional<std::string>& outDir,
               bool originalBodies) {
    const std::string parent = outDir.value_or(".");
    const int parentFd = makeDirectories(parent) ? openFolder(parent) : -1;
    if (parentFd < 0) {
        std::fprintf(stderr, "quillbox: %s: cannot create the folder: %s\n", parent.c_str(),
                     std::strerror(errno));
        return kExitFailed;
    }
    installInterruptHandlers();
    Progress progress(files.size() > 1 && ::isatty(STDERR_FILENO));
    Totals totals;
    int status = kExitOK;
    for (size_t i = 0; i < files.size() && !interrupted(); ++i) {
        progress.show(i + 1, files.size(), files[i]);
        const int fileStatus = guardedInput(files[i], [&] {
            OpenedInput in = openInput(files[i]);
            if (!in.message) {
                progress.clear();
                reportFailure(files[i], *in.error);
                progress.redraw();
                return finishInput(in, kExitFailed);
            }
            int result = extractMessage(in, parentFd, parent, originalBodies, progress, totals);
            progress.clear();
            result = finishInput(in, result);
            progress.redraw();
            return result;
        });
        ++(fileStatus == kExitFailed ? totals.failed : totals.done);
        status = worseStatus(status, fileStatus);
    }
    ::close(parentFd);
    progress.finish();
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
