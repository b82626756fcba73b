#include "cli/MessageInput.h"

#include <cstdio>
#include <cstring>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/POLE.h"
#include "platform/FileData.h"
#include "platform/Localized.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

namespace {

constexpr uint8_t kCompoundFileSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr const char* kOXMessageErrorDomain = "OXMessageErrorDomain";
constexpr const char* kUnrecognizedText =
    "It may be damaged or use a file format that Quillbox doesn't recognize.";

}  // namespace

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
    std::string readError;
    int readErrno = 0;
    auto data = readFileData(path, &readError, &readErrno);
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

void reportFailure(const std::string& path, const std::string& reason) {
    // The reader's texts leave the file name open as "%@"; here we know it.
    std::string text = reason;
    if (auto at = text.find("%@"); at != std::string::npos) text.replace(at, 2, path);
    std::fprintf(stderr, "quillbox: %s: %s\n", path.c_str(), text.c_str());
}

}  // namespace qb::cli
