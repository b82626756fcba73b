// quillbox info: one summary per input, as text or one JSON line, warnings included when the
// input was read only in part.
#include <fmt/format.h>

#include <cstdio>

#include "api/MessageInfo.h"
#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/MessageSummary.h"
#include "cli/OutputFile.h"

namespace qb::cli {

namespace {

// Standard output that stops at its first failure (a full disk): the rest is lost anyway,
// and the failure is said once.
class Printer {
  public:
    void operator()(const std::string& text) {
        if (!failed_ && !writeStandardOutput(text)) {
            failed_ = true;
            reportStandardOutputFailure();
        }
    }
    bool failed() const { return failed_; }

  private:
    bool failed_ = false;
};

int infoOf(const std::string& file, bool json, Printer& print) {
    OpenedInput in = openInput(file);
    if (!in.message) {
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

int runInfo(const std::vector<std::string>& files, bool json) {
    int status = kExitOK;
    Printer print;
    for (const auto& file : files) {
        status = worseStatus(status, guardedInput(file, [&] { return infoOf(file, json, print); }));
        if (print.failed()) return kExitFailed;
    }
    return status;
}

}  // namespace qb::cli
