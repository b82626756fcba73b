// SPDX-License-Identifier: Apache-2.0
// Whole-file writes: a temporary name beside the target, renamed over it when complete.
#include "api/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace qb {

namespace {

// Straight into what is there: a device, a pipe or a symbolic link (to those, or to a file
// kept elsewhere) must not be replaced by a rename.
bool writeInPlace(const std::string& path, const std::function<bool(int fd)>& writeTo) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = writeTo(fd);
    const int savedErrno = errno;
    if (::close(fd) != 0 && ok) return false;
    errno = savedErrno;
    return ok;
}

}  // namespace

bool writeAllTo(int fd, const Bytes& data, const std::atomic<bool>* cancel) {
    return writeAllTo(fd, data.view(), cancel);
}

bool writeBodyTo(int fd, const MimeBody& body, const std::atomic<bool>* cancel) {
    return body.write([&](std::string_view piece) { return writeAllTo(fd, piece, cancel); });
}

bool writeAllTo(int fd, std::string_view data, const std::atomic<bool>* cancel) {
    // Written in pieces so that a cancellation is noticed within one piece.
    constexpr size_t kChunk = size_t(1) << 20;
    size_t done = 0;
    while (done < data.size()) {
        if (cancel && cancel->load()) {
            errno = EINTR;
            return false;
        }
        const ssize_t n = ::write(fd, data.data() + done, std::min(kChunk, data.size() - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

bool writeFileWhole(const std::string& path, const Bytes& data) {
    return writeFileWhole(path, [&](int fd) { return writeAllTo(fd, data); });
}

bool writeFileWhole(const std::string& path, const std::function<bool(int fd)>& writeTo) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return writeInPlace(path, writeTo);
    const std::string temporary = path + ".quillbox-" + std::to_string(::getpid());
    const int fd =
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool ok = writeTo(fd);
    int savedErrno = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        savedErrno = errno;
    }
    if (ok && ::rename(temporary.c_str(), path.c_str()) == 0) return true;
    if (ok) savedErrno = errno;
    ::unlink(temporary.c_str());
    errno = savedErrno;
    return false;
}

}  // namespace qb
