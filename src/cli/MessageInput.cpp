// SPDX-License-Identifier: Apache-2.0
// Warnings from the read report, mapped inputs that shrank while read, and exceptions caught
// per input so one bad file never ends the run.
#include "cli/MessageInput.h"

#include <fmt/format.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/StatusLine.h"
#include "platform/FileData.h"

namespace qb::cli {

namespace {

uint64_t gMaxInputSize = kDefaultMaxInputSize;

}  // namespace

void setMaxInputSize(uint64_t bytes) {
    gMaxInputSize = bytes;
}

uint64_t maxInputSize() {
    return gMaxInputSize;
}

std::optional<uint64_t> parseByteSize(const std::string& text) {
    if (text.empty()) return std::nullopt;
    uint64_t value = 0;
    size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (value > (UINT64_MAX - 9) / 10) return std::nullopt;
        value = value * 10 + uint64_t(text[i] - '0');
    }
    if (i == 0) return std::nullopt;
    unsigned shift = 0;
    if (i < text.size()) {
        switch (text[i]) {
            case 'k':
            case 'K':
                shift = 10;
                break;
            case 'm':
            case 'M':
                shift = 20;
                break;
            case 'g':
            case 'G':
                shift = 30;
                break;
            default:
                return std::nullopt;
        }
        if (++i != text.size()) return std::nullopt;
    }
    if (shift && value > (UINT64_MAX >> shift)) return std::nullopt;
    return value << shift;
}

OpenedInput openInput(const std::string& path) {
    OpenedInput in;
    in.path = path;
    in.faultsBefore = mappedInputFaults();
    auto data = readInput(path, gMaxInputSize);
    if (!data) {
        in.error = data.error();
        return in;
    }
    auto opened = openMessage(std::move(*data));
    if (!opened) {
        in.error = opened.error();
        return in;
    }
    in.format = opened->format;
    in.message = std::move(opened->message);
    return in;
}

void reportFailure(const std::string& path, const std::string& reason) {
    printErrorLine("quillbox: " + path + ": " + reason);
}

void reportFailure(const std::string& path, const ReadError& error) {
    reportFailure(path, error.message(path));
}

int worseStatus(int a, int b) {
    auto rank = [](int s) { return s == kExitFailed ? 2 : s == kExitPartial ? 1 : 0; };
    return rank(a) >= rank(b) ? a : b;
}

int finishInput(const OpenedInput& in, int status) {
    if (in.message) {
        const auto& report = *in.message->report();
        for (const auto& w : report.warnings()) {
            std::string line = "warning: " + w.text;
            if (w.offset) line += fmt::format(" (at offset {})", *w.offset);
            reportFailure(in.path, line);
        }
        if (auto dropped = report.droppedWarnings())
            reportFailure(in.path, fmt::format("warning: {} more warnings", dropped));
        if (report.partial()) status = worseStatus(status, kExitPartial);
    }
    if (mappedInputFaults() != in.faultsBefore) {
        reportFailure(in.path,
                      "the file shrank while it was read; what was read from it is "
                      "incomplete");
        status = kExitFailed;
    }
    return status;
}

namespace {

// Per thread: each worker reads its own input.
thread_local std::string tCurrentInput;

}  // namespace

const std::string& currentInputPath() {
    return tCurrentInput;
}

int guardedInput(const std::string& path, const std::function<int()>& body) {
    tCurrentInput = path;
    int status = kExitFailed;
    try {
        status = body();
    } catch (const std::bad_alloc&) {
        reportFailure(path, "out of memory reading " + path);
    } catch (const std::exception& e) {
        reportFailure(path, std::string("internal error: ") + e.what());
    }
    tCurrentInput.clear();
    return status;
}

}  // namespace qb::cli
