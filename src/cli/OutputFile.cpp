// Single output files (eml -o, rtf -o): written under a temporary name beside the target and
// renamed over it when complete, so the target is never left cut short.
#include "cli/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/MessageInput.h"

namespace qb::cli {

namespace {

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

// Straight into what is there: a device, a pipe or a symbolic link (to those, or to a file
// kept elsewhere) must not be replaced by a rename.
bool writeInPlace(const std::string& path, const Bytes& data) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = writeAll(fd, data);
    const int savedErrno = errno;
    if (::close(fd) != 0 && ok) return false;
    errno = savedErrno;
    return ok;
}

bool writeFileWhole(const std::string& path, const Bytes& data) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return writeInPlace(path, data);
    const std::string temporary = path + ".quillbox-" + std::to_string(::getpid());
    const int fd =
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool ok = writeAll(fd, data);
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

}  // namespace

bool writeOutput(const std::optional<std::string>& output, const Bytes& data,
                 const std::string& inputName) {
    if (output && *output != "-") {
        if (writeFileWhole(*output, data)) return true;
        reportFailure(inputName, *output + ": " + std::strerror(errno));
        return false;
    }
    const bool ok =
        std::fwrite(data.data(), 1, data.size(), stdout) == data.size() && std::fflush(stdout) == 0;
    if (!ok) reportFailure(inputName, std::string("standard output: ") + std::strerror(errno));
    return ok;
}

bool writeStandardOutput(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && written && !std::ferror(stdout);
}

void reportStandardOutputFailure() {
    std::fprintf(stderr, "quillbox: standard output: %s\n", std::strerror(errno));
}

}  // namespace qb::cli
