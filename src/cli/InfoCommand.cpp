#include <fmt/format.h>

#include <cstdio>

#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/MessageSummary.h"
#include "cli/OutputFile.h"
#include "platform/Dictionary.h"

namespace qb::cli {

namespace {}  // namespace

int runInfo(const std::vector<std::string>& files, bool json) {
    int status = 0;
    bool outputFailed = false;
    // After the first failure nothing more is written: the output is lost anyway.
    auto print = [&](const std::string& text) {
        if (!outputFailed && !writeStandardOutput(text)) {
            outputFailed = true;
            reportStandardOutputFailure();
        }
    };
    for (const auto& file : files) {
        OpenedInput in = openInput(file);
        if (!in.message) {
            status = 1;
            if (json) {
                Dictionary line;
                line["file"] = file;
                line["error"] = errorJSON(in);
                print(line.dump(-1, ' ', false, Dictionary::error_handler_t::replace) + "\n");
            } else {
                reportFailure(file, in.error.value_or("cannot be read"));
            }
            continue;
        }
        if (json) {
            Dictionary line;
            line["file"] = file;
            line["format"] = formatName(in.format);
            line["message"] = messageJSON(*in.message);
            print(line.dump(-1, ' ', false, Dictionary::error_handler_t::replace) + "\n");
        } else {
            print(fmt::format("{} ({})\n", file, formatName(in.format)) +
                  messageText(*in.message, 1));
        }
        if (in.error) {
            status = 1;
            reportFailure(file, *in.error);
        }
    }
    return outputFailed ? 1 : status;
}

}  // namespace qb::cli
