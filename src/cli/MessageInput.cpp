#include "cli/MessageInput.h"

#include <fmt/format.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/POLE.h"
#include "formats/QBFileFormat.h"
#include "platform/FileData.h"
#include "platform/Localized.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

namespace {

constexpr uint8_t kCompoundFileSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr const char* kOXMessageErrorDomain = "OXMessageErrorDomain";
constexpr const char* kUnrecognizedText =
    "It may be damaged or use a file format that Quillbox doesn't recognize.";

constexpr const char* kNotAMessageText = "The file \"%@\" is not an Outlook message.";
constexpr const char* kNotAMessageKindText = "The file \"%@\" is not an Outlook message: it is {}.";

// What the file is instead, as its format's description says it ("a Microsoft Word
// document").
std::string notAMessageText(const Bytes& data) {
    const QBFileFormat* format = QBFileFormat::fileFormatOfData(data);
    if (!format || format->description.empty() ||
        format->identifier == "com.microsoft.outlook.message")
        return localized(kNotAMessageText);
    const char first =
        static_cast<char>(std::tolower(static_cast<unsigned char>(format->description[0])));
    const char* article =
        std::string_view("aeiou").find(first) != std::string_view::npos ? "an" : "a";
    return fmt::format(fmt::runtime(localized(kNotAMessageKindText)),
                       fmt::format("{} {}", article, format->description));
}

uint64_t gMaxInputSize = kDefaultMaxInputSize;

}  // namespace

void setMaxInputSize(uint64_t bytes) {
    gMaxInputSize = bytes;
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

const char* formatName(InputFormat format) {
    switch (format) {
        case InputFormat::TNEF:
            return "tnef";
        case InputFormat::MSG:
            return "msg";
        default:
            return "unknown";
    }
}

OpenedInput openInput(const std::string& path) {
    OpenedInput in;
    in.path = path;
    in.faultsBefore = mappedInputFaults();
    std::string readError;
    int readErrno = 0;
    auto data = readFileData(path, &readError, &readErrno, gMaxInputSize);
    if (!data) {
        in.error = readError;
        in.errorDomain = "POSIX";
        in.errorCode = readErrno;
        return in;
    }
    if (data->size() >= 8 && std::memcmp(data->data(), kCompoundFileSignature, 8) == 0) {
        in.format = InputFormat::MSG;
        in.message = OXMessage::create(*data);
        if (!in.message) {
            in.error = localized(kUnrecognizedText);
            in.errorDomain = kOXMessageErrorDomain;
            in.errorCode = 2;
            // A compound file that opens but holds no message is another document.
            if (auto root = CFBEntry::create(*data);
                root && !OXMessage::holdsMessageProperties(*root))
                in.error = notAMessageText(*data);
        }
        return in;
    }
    // Anything that is not another known container is tried as TNEF, which also finds a
    // stream embedded in other bytes.
    TNEFError error;
    in.message = TNEFMessage::create(*data, nullptr, &error);
    if (in.message) in.format = InputFormat::TNEF;
    if (error.code != 0) {
        in.error = error.description;
        in.errorDomain = error.domain;
        in.errorCode = error.code;
    }
    return in;
}

std::string filledErrorText(const std::string& path, const std::string& reason) {
    // The reader's texts leave the file name open as "%@"; here we know it.
    std::string text = reason;
    if (auto at = text.find("%@"); at != std::string::npos) text.replace(at, 2, path);
    return text;
}

void reportFailure(const std::string& path, const std::string& reason) {
    std::fprintf(stderr, "quillbox: %s: %s\n", path.c_str(), filledErrorText(path, reason).c_str());
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

std::string gCurrentInput;

}  // namespace

const std::string& currentInputPath() {
    return gCurrentInput;
}

int guardedInput(const std::string& path, const std::function<int()>& body) {
    gCurrentInput = path;
    int status = kExitFailed;
    try {
        status = body();
    } catch (const std::bad_alloc&) {
        reportFailure(path, "out of memory reading " + path);
    } catch (const std::exception& e) {
        reportFailure(path, std::string("internal error: ") + e.what());
    }
    gCurrentInput.clear();
    return status;
}

}  // namespace qb::cli
