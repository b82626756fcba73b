// SPDX-License-Identifier: Apache-2.0
// quillbox info: one summary per input, as text or one JSON line, warnings included when the
// input was read only in part.
#include <fmt/format.h>

#include <cstdio>

#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/MessageSummary.h"
#include "cli/OutputFile.h"
#include "platform/Dictionary.h"

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

// Warnings as info --json lists them.
Dictionary warningsJSON(const ReadReport& report) {
    Dictionary list = Dictionary::array();
    for (const auto& w : report.warnings()) {
        Dictionary item;
        item["text"] = w.text;
        item["offset"] = w.offset ? Dictionary(*w.offset) : Dictionary(nullptr);
        list.push_back(std::move(item));
    }
    return list;
}

int infoOf(const std::string& file, bool json, Printer& print) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        if (json) {
            Dictionary line;
            line["file"] = file;
            line["error"] = errorJSON(in);
            print(line.dump(-1, ' ', false, Dictionary::error_handler_t::replace) + "\n");
        } else {
            reportFailure(file, *in.error);
        }
        return finishInput(in, kExitFailed);
    }
    if (json) {
        Dictionary line;
        line["file"] = file;
        line["format"] = formatName(in.format);
        line["message"] = messageJSON(*in.message);
        const auto& report = *in.message->report();
        if (report.partial()) {
            line["partial"] = true;
            line["warnings"] = warningsJSON(report);
        }
        print(line.dump(-1, ' ', false, Dictionary::error_handler_t::replace) + "\n");
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
