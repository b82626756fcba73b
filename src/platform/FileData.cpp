#include "platform/FileData.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace qb {

namespace {

struct Mapping {
    void* address = nullptr;
    size_t length = 0;
    ~Mapping() {
        if (address) munmap(address, length);
    }
};

std::optional<Bytes> readStream(int fd, std::string* error, int* errorCode) {
    std::vector<uint8_t> buffer;
    uint8_t chunk[65536];
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR) continue;
            if (error) *error = std::strerror(errno);
            if (errorCode) *errorCode = errno;
            return std::nullopt;
        }
        buffer.insert(buffer.end(), chunk, chunk + n);
    }
    return Bytes::adopt(std::move(buffer));
}

}  // namespace

std::optional<Bytes> readFileData(const std::string& path, std::string* error, int* errorCode) {
    auto fail = [&](int code) -> std::optional<Bytes> {
        if (error) *error = std::strerror(code);
        if (errorCode) *errorCode = code;
        return std::nullopt;
    };
    if (path == "-") return readStream(STDIN_FILENO, error, errorCode);
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return fail(errno);
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        const int code = errno;
        ::close(fd);
        return fail(code);
    }
    if (S_ISDIR(st.st_mode)) {
        ::close(fd);
        return fail(EISDIR);
    }
    if (!S_ISREG(st.st_mode) || st.st_size == 0) {
        auto data = readStream(fd, error, errorCode);
        ::close(fd);
        return data;
    }
    auto mapping = std::make_shared<Mapping>();
    mapping->length = static_cast<size_t>(st.st_size);
    void* address = ::mmap(nullptr, mapping->length, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address == MAP_FAILED) {
        auto data = readStream(fd, error, errorCode);
        ::close(fd);
        return data;
    }
    ::close(fd);
    mapping->address = address;
    const auto* bytes = static_cast<const uint8_t*>(address);
    return Bytes::wrap(mapping, bytes, mapping->length);
}

}  // namespace qb
