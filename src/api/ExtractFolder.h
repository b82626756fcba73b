// SPDX-License-Identifier: Apache-2.0
// A folder that exports are written into safely: the writing side of the front door.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/Bytes.h"

namespace qb {

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
    // Once `cancel` (when given) is true, a write stops within a megabyte with EINTR.
    static std::optional<ExtractFolder> create(int parentFd, const std::string& parentPath,
                                               const std::string& name,
                                               const std::atomic<bool>* cancel = nullptr);
    // Writes into the folder `path` itself, made when missing (files already there are kept
    // and new ones numbered); errno and nothing on failure.
    static std::optional<ExtractFolder> open(const std::string& path,
                                             const std::atomic<bool>* cancel = nullptr);
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
    // The same, with the content written by `writeTo` into the open descriptor it is given as
    // it is produced (false with errno set when it fails: nothing is left behind).
    std::optional<std::string> write(const std::string& name,
                                     const std::function<bool(int fd)>& writeTo,
                                     bool reservedName = false);

  private:
    ExtractFolder(int fd, std::string path, const std::atomic<bool>* cancel)
        : fd_(fd), path_(std::move(path)), cancel_(cancel) {}
    int fd_;
    std::string path_;
    const std::atomic<bool>* cancel_;
    std::map<std::string, unsigned> nextNumber_;
    std::set<std::string> reserved_;
    unsigned temporaries_ = 0;
};

// Opens an existing folder for ExtractFolder::create; -1 with errno on failure.
int openFolder(const std::string& path);
// Makes the folder `path` and the folders above it that are missing; false with errno when
// that fails or something other than a folder is there.
bool makeDirectories(const std::string& path);

}  // namespace qb
