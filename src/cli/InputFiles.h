// SPDX-License-Identifier: Apache-2.0
// The inputs a command runs over: the files named on the command line, and with -r every
// file found below the folders named.
#pragma once

#include <string>
#include <vector>

#include "platform/ReadError.h"

namespace qb::cli {

struct InputFile {
    std::string path;
    // Found by walking a folder rather than named: skipped when it is no message at all.
    bool found = false;
};

struct InputList {
    std::vector<InputFile> files;
    // Folders that could not be read: path and reason.
    std::vector<std::pair<std::string, std::string>> unreadable;
};

// `args` in order; with `recursive`, a folder among them stands for the files below it,
// sorted by path. Links to folders are not followed (no loops), links to files are.
InputList inputFiles(const std::vector<std::string>& args, bool recursive);

// Whether the front door's failure says the bytes hold no message at all (no TNEF stream
// anywhere in them, empty, a compound file holding another kind of document) rather than a
// damaged one.
bool isNotAMessage(const ReadError& error);

}  // namespace qb::cli
