// SPDX-License-Identifier: Apache-2.0
// quillbox info: one summary per input, as text or one JSON line, warnings included when the
// input was read only in part.
#include <fmt/format.h>

#include <atomic>

#include <cstdio>
#include <optional>
#include <vector>

#include "api/MessageInfo.h"
#include "cli/Commands.h"
#include "cli/HeldOutput.h"
#include "cli/InputFiles.h"
#include "cli/MessageInput.h"
#include "cli/MessageSummary.h"
#include "cli/OutputFile.h"
#include "cli/WorkerPool.h"

namespace qb::cli {

namespace {

// Standard output that stops at its first failure (a full disk): the rest is lost anyway,
// and the failure is said once. Workers' output is held, so only the thread that runs the
// command writes (and fails) here.
class Printer {
  public:
    void operator()(const std::string& text) {
        if (!failed_.load() && !writeStandardOutput(text)) {
            failed_.store(true);
            reportStandardOutputFailure();
        }
    }
    bool failed() const { return failed_.load(); }

  private:
    std::atomic<bool> failed_{false};
};

// One input's summary; a file found by walking a folder that holds no message is only
// marked `skipped`.
int infoOf(const InputFile& input, bool json, Printer& print, bool& skipped) {
    const std::string& file = input.path;
    OpenedInput in = openInput(file);
    if (!in.message) {
        if (input.found && isNotAMessage(*in.error)) {
            skipped = true;
            return kExitOK;
        }
        if (json) {
            print(infoLine(errorRecord(file, *in.error)) + "\n");
        } else {
            reportFailure(file, *in.error);
        }
        return finishInput(in, kExitFailed);
    }
    if (json) {
        print(infoLine(infoRecord(file, in.format, *in.message)) + "\n");
    } else {
        print(fmt::format("{} ({})\n", file, formatName(in.format)) + messageText(*in.message, 1));
    }
    return finishInput(in, kExitOK);
}

}  // namespace

int runInfo(const std::vector<std::string>& files, bool json, const BatchOptions& batch) {
    const InputList inputs = inputFiles(files, batch.recursive);
    int status = kExitOK;
    for (const auto& [path, reason] : inputs.unreadable) {
        reportFailure(path, "cannot read the folder: " + reason);
        status = kExitFailed;
    }
    struct Result {
        int status = kExitFailed;
        bool skipped = false;
        HeldOutput output;
    };
    std::vector<Result> results(inputs.files.size());
    // Held only when workers run inputs side by side; alone, an input prints as it goes.
    const bool hold = batch.jobs > 1 && inputs.files.size() > 1;
    Printer print;
    size_t skipped = 0;
    // Set by the delivering thread, read by workers deciding whether to start another input.
    std::atomic<bool> outputFailed{false};
    auto work = [&](size_t i) {
        const InputFile& input = inputs.files[i];
        Result& r = results[i];
        std::optional<HeldOutput::Scope> scope;
        if (hold) scope.emplace(r.output);
        r.status = guardedInput(input.path, [&] { return infoOf(input, json, print, r.skipped); });
    };
    auto deliver = [&](size_t i) {
        Result& r = results[i];
        // After standard output failed, what workers had finished is dropped: the run is over.
        if (outputFailed.load() || !r.output.release() || print.failed()) outputFailed.store(true);
        if (r.skipped)
            ++skipped;
        else
            status = worseStatus(status, r.status);
        r = Result();
    };
    runInOrder(inputs.files.size(), batch.jobs, work, deliver, [&] { return outputFailed.load(); });
    if (skipped) std::fprintf(stderr, "quillbox: %zu files skipped (not messages)\n", skipped);
    return outputFailed.load() ? kExitFailed : status;
}

}  // namespace qb::cli
