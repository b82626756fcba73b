// SPDX-License-Identifier: Apache-2.0
// Folder walking for -r, and the failures that mean "not a message" rather than "damaged".
#include "cli/InputFiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "OXMSG/OXMessage.h"
#include "api/OpenMessage.h"
#include "tnef/TNEFError.h"

namespace qb::cli {

namespace fs = std::filesystem;

InputList inputFiles(const std::vector<std::string>& args, bool recursive) {
    InputList list;
    for (const auto& arg : args) {
        std::error_code ec;
        if (!recursive || arg == "-" || !fs::is_directory(arg, ec)) {
            list.files.push_back({arg, false});
            continue;
        }
        std::vector<std::string> found;
        // Links to folders are listed as entries but not entered: no loops.
        fs::recursive_directory_iterator it(arg, fs::directory_options::none, ec), end;
        if (ec) {
            list.unreadable.emplace_back(arg, ec.message());
            continue;
        }
        while (it != end) {
            std::error_code typeError;
            if (it->is_regular_file(typeError)) found.push_back(it->path().string());
            it.increment(ec);
            if (ec) {
                // The walk cannot go on past an error; what was found so far is kept.
                list.unreadable.emplace_back(arg, ec.message());
                break;
            }
        }
        std::sort(found.begin(), found.end());
        for (auto& path : found)
            list.files.push_back({std::move(path), true});
    }
    return list;
}

bool isNotAMessage(const ReadError& error) {
    if (error.domain == kTNEFErrorDomain)
        return error.code == kTNEFErrorUnrecognized || error.code == kTNEFErrorEmpty;
    // A mail without winmail.dat is a message, but not one of those `info` and `extract` read.
    if (error.domain == kOpenMessageErrorDomain)
        return error.code == kOpenMessageErrorMailWithoutTNEF;
    // A compound file that holds no message properties fails without an offset; a damaged
    // message says where reading stopped.
    return error.domain == kOXMessageErrorDomain && error.code == kOXMessageErrorUnreadable &&
           !error.offset;
}

}  // namespace qb::cli
