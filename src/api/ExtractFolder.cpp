// SPDX-License-Identifier: Apache-2.0
// Output folders: made relative to an open handle, files written whole under a temporary
// name and renamed into place without replacing anything.
#include "api/ExtractFolder.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "api/WholeFile.h"
#include "exporters/SafeFilename.h"

namespace qb {

namespace {

// Enough for any real message; a bound so that a full folder cannot loop for ever.
constexpr unsigned kMaxNumbered = 100000;

std::string joinPath(const std::string& dir, const std::string& name) {
    if (dir.empty() || dir == ".") return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

// Moves `from` to `to` in the folder unless `to` exists.
bool renameNoReplace(int fd, const std::string& from, const std::string& to) {
    if (::renameat2(fd, from.c_str(), fd, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // File systems without RENAME_NOREPLACE: a hard link fails the same way on a taken name.
    if (::linkat(fd, from.c_str(), fd, to.c_str(), 0) != 0) return false;
    ::unlinkat(fd, from.c_str(), 0);
    return true;
}

}  // namespace

int openFolder(const std::string& path) {
    return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

bool makeDirectories(const std::string& path) {
    for (size_t pos = 1; pos <= path.size(); ++pos) {
        if (pos < path.size() && path[pos] != '/') continue;
        const std::string prefix = path.substr(0, pos);
        if (::mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) return false;
    }
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return false;
    if (!S_ISDIR(st.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return true;
}

std::optional<ExtractFolder> ExtractFolder::create(int parentFd, const std::string& parentPath,
                                                   const std::string& name,
                                                   const std::atomic<bool>* cancel) {
    const std::string safe = safeFilename(name, "message");
    for (unsigned n = isWindowsReservedName(safe) ? 2 : 1; n <= kMaxNumbered; ++n) {
        const std::string candidate = numberedFilename(safe, n);
        if (::mkdirat(parentFd, candidate.c_str(), 0777) != 0) {
            if (errno == EEXIST) continue;
            return std::nullopt;
        }
        // Made just now; a link put in its place since is not followed.
        const int fd =
            ::openat(parentFd, candidate.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) return std::nullopt;
        return ExtractFolder(fd, joinPath(parentPath, candidate), cancel);
    }
    errno = EEXIST;
    return std::nullopt;
}

std::optional<ExtractFolder> ExtractFolder::open(const std::string& path,
                                                 const std::atomic<bool>* cancel) {
    if (!makeDirectories(path)) return std::nullopt;
    const int fd = openFolder(path);
    if (fd < 0) return std::nullopt;
    return ExtractFolder(fd, path, cancel);
}

ExtractFolder::ExtractFolder(ExtractFolder&& other) noexcept
    : fd_(other.fd_),
      path_(std::move(other.path_)),
      cancel_(other.cancel_),
      nextNumber_(std::move(other.nextNumber_)),
      reserved_(std::move(other.reserved_)),
      temporaries_(other.temporaries_) {
    other.fd_ = -1;
}

ExtractFolder::~ExtractFolder() {
    if (fd_ >= 0) ::close(fd_);
}

std::optional<std::string> ExtractFolder::write(const std::string& name, const Bytes& data,
                                                bool reservedName) {
    return write(
        name, [&](int fd) { return writeAllTo(fd, data, cancel_); }, reservedName);
}

std::optional<std::string> ExtractFolder::write(const std::string& name,
                                                const std::function<bool(int fd)>& writeTo,
                                                bool reservedName) {
    // The content first, under a name no export can have (safe names never start with a dot).
    std::string temporary;
    int fd = -1;
    for (unsigned tries = 0; fd < 0 && tries < kMaxNumbered; ++tries) {
        temporary =
            ".quillbox-" + std::to_string(::getpid()) + "-" + std::to_string(temporaries_++);
        fd = ::openat(fd_, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                      0666);
        if (fd < 0 && errno != EEXIST) return std::nullopt;
    }
    if (fd < 0) return std::nullopt;
    const bool written = writeTo(fd);
    int savedErrno = errno;
    if (::close(fd) != 0 && written)
        savedErrno = errno;
    else if (written)
        savedErrno = 0;
    if (savedErrno != 0) {
        ::unlinkat(fd_, temporary.c_str(), 0);
        errno = savedErrno;
        return std::nullopt;
    }

    const std::string safe = safeFilename(name, "Untitled");
    // Numbering resumes where it stopped for this name: a thousand "image001.png" cost a
    // thousand tries, not half a million.
    unsigned& next = nextNumber_[safe];
    const unsigned first =
        isWindowsReservedName(safe) || (!reservedName && reserved_.contains(safe)) ? 2 : 1;
    for (unsigned n = reservedName ? 1 : std::max(next, first); n <= kMaxNumbered; ++n) {
        const std::string candidate = numberedFilename(safe, n);
        if (n > 1 && !reservedName && reserved_.contains(candidate)) continue;
        if (!renameNoReplace(fd_, temporary, candidate)) {
            if (errno == EEXIST) continue;
            savedErrno = errno;
            ::unlinkat(fd_, temporary.c_str(), 0);
            errno = savedErrno;
            return std::nullopt;
        }
        if (!reservedName) next = n + 1;
        return joinPath(path_, candidate);
    }
    ::unlinkat(fd_, temporary.c_str(), 0);
    errno = EEXIST;
    return std::nullopt;
}

}  // namespace qb
