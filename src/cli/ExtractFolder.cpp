#include "cli/ExtractFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "exporters/SafeFilename.h"

namespace qb::cli {

namespace {

// Enough for any real message; a bound so that a full folder cannot loop for ever.
constexpr unsigned kMaxNumbered = 100000;

std::string joinPath(const std::string& dir, const std::string& name) {
    if (dir.empty() || dir == ".") return name;
    return dir.back() == '/' ? dir + name : dir + "/" + name;
}

bool writeAll(int fd, const Bytes& data) {
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

std::optional<ExtractFolder> ExtractFolder::create(const std::string& parent,
                                                   const std::string& name) {
    const std::string safe = safeFilename(name, "message");
    for (unsigned n = 1; n <= kMaxNumbered; ++n) {
        const std::string path = joinPath(parent, numberedFilename(safe, n));
        if (::mkdir(path.c_str(), 0777) == 0) return ExtractFolder(path);
        if (errno != EEXIST) return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

std::optional<std::string> ExtractFolder::write(const std::string& name, const Bytes& data) {
    const std::string safe = safeFilename(name, "Untitled");
    // Numbering resumes where it stopped for this name: a thousand "image001.png" cost a
    // thousand tries, not half a million.
    unsigned& next = nextNumber_[safe];
    for (unsigned n = std::max(next, 1u); n <= kMaxNumbered; ++n) {
        const std::string path = joinPath(path_, numberedFilename(safe, n));
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            return std::nullopt;
        }
        next = n + 1;
        const bool ok = writeAll(fd, data);
        const int savedErrno = errno;
        if (::close(fd) != 0 || !ok) {
            if (ok) return std::nullopt;
            errno = savedErrno;
            return std::nullopt;
        }
        return path;
    }
    errno = EEXIST;
    return std::nullopt;
}

}  // namespace qb::cli
