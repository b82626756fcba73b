#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/Bytes.h"

namespace qb::cli {

// A folder that files are written into under safe names, never replacing anything: a taken
// name, or one Windows reserves (CON, NUL, COM1…), gets " (2)", " (3)", … before its
// extension. The folder is opened once and everything is made relative to that handle, with
// links not followed, so swapping a path component for a symbolic link cannot send a write
// elsewhere. Each file is written under a temporary name and renamed into place when
// complete: a file under its final name is always whole.
class ExtractFolder {
  public:
    // Creates a new folder `name` (made safe, numbered when taken) inside the folder open as
    // `parentFd`, whose path for messages is `parentPath`; errno and nothing on failure.
    static std::optional<ExtractFolder> create(int parentFd, const std::string& parentPath,
                                               const std::string& name);
    ExtractFolder(ExtractFolder&& other) noexcept;
    ExtractFolder& operator=(ExtractFolder&&) = delete;
    ~ExtractFolder();

    const std::string& path() const { return path_; }
    // Keeps `name` for a later write(name, …, true): other files of that name are numbered.
    void reserve(const std::string& name) { reserved_.insert(name); }
    // Writes the bytes under the safe form of `name`; the path written, or nothing with
    // errno set (EINTR when interrupted) and nothing left behind.
    std::optional<std::string> write(const std::string& name, const Bytes& data,
                                     bool reservedName = false);

  private:
    ExtractFolder(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
    int fd_;
    std::string path_;
    std::map<std::string, unsigned> nextNumber_;
    std::set<std::string> reserved_;
    unsigned temporaries_ = 0;
};

// Whether Windows reserves `name` for a device (CON, PRN, AUX, NUL, COM1–9, LPT1–9, with any
// extension, in any case).
bool isWindowsReservedName(const std::string& name);

// Set by SIGINT or SIGTERM once installInterruptHandlers ran; writes stop at the next chunk.
bool interrupted();
// Catches SIGINT and SIGTERM so that a run can stop between writes and clean up.
void installInterruptHandlers();

// Opens an existing folder for ExtractFolder::create; -1 with errno on failure.
int openFolder(const std::string& path);

}  // namespace qb::cli
