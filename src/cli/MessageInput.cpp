#include "cli/MessageInput.h"

#include <cstdio>

#include "platform/FileData.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

const char* formatName(InputFormat format) {
    switch (format) {
        case InputFormat::TNEF:
            return "tnef";
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
