// SPDX-License-Identifier: Apache-2.0
// quillbox ics: the calendar file of a meeting, appointment or task.
#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/ICSExporter.h"

namespace qb::cli {

int runIcs(const std::string& file, const std::optional<std::string>& output) {
    return guardedInput(file, [&] {
        OpenedInput in = openInput(file);
        if (!in.message) {
            reportFailure(file, *in.error);
            return finishInput(in, kExitFailed);
        }
        const auto cls = in.message->messageClass();
        if (!ICSExporter::canHandleMessageClass(cls)) {
            reportFailure(file, "not a calendar item (message class " + cls.value_or("none") + ")");
            return finishInput(in, kExitFailed);
        }
        auto calendar = ICSExporter::create(in.message, nullptr);
        const bool ok =
            calendar && calendar->data() && writeOutput(output, *calendar->data(), file);
        return finishInput(in, ok ? kExitOK : kExitFailed);
    });
}

}  // namespace qb::cli
