// SPDX-License-Identifier: Apache-2.0
// Input files: regular files mapped, everything else read with a size limit. A mapped file
// that shrinks under us would raise SIGBUS on the next page touched; a handler puts a page of
// zeros in its place and counts the event, so the reader finishes and the caller reports it.
#include "platform/FileData.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

namespace qb {

namespace {

// The live mappings, as the signal handler sees them: lock-free slots of (start, length).
struct Slot {
    std::atomic<uintptr_t> start{0};
    std::atomic<size_t> length{0};
};
std::array<Slot, 256> gSlots;
// Counted per thread: SIGBUS goes to the thread that touched the page, and each worker
// thread reads one input at a time, so a fault is charged to the input that met it.
thread_local uint64_t tFaults = 0;
struct sigaction gPreviousBusAction;

void onBusError(int signal, siginfo_t* info, void* context) {
    const auto address = reinterpret_cast<uintptr_t>(info->si_addr);
    for (const Slot& slot : gSlots) {
        const uintptr_t start = slot.start.load();
        if (start == 0 || address < start || address - start >= slot.length.load()) continue;
        const auto page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
        void* at = reinterpret_cast<void*>(address & ~(page - 1));
        if (::mmap(at, page, PROT_READ, MAP_PRIVATE | MAP_FIXED | MAP_ANONYMOUS, -1, 0) !=
            MAP_FAILED) {
            ++tFaults;
            return;
        }
        break;
    }
    // Not one of ours: whatever handled it before does.
    if (gPreviousBusAction.sa_flags & SA_SIGINFO) {
        if (gPreviousBusAction.sa_sigaction) gPreviousBusAction.sa_sigaction(signal, info, context);
        return;
    }
    if (gPreviousBusAction.sa_handler != SIG_DFL && gPreviousBusAction.sa_handler != SIG_IGN) {
        gPreviousBusAction.sa_handler(signal);
        return;
    }
    ::signal(SIGBUS, SIG_DFL);
    ::raise(SIGBUS);
}

void installBusHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &gPreviousBusAction);
    });
}

struct Mapping {
    void* address = nullptr;
    size_t length = 0;
    Slot* slot = nullptr;
    ~Mapping() {
        if (slot) {
            slot->length.store(0);
            slot->start.store(0);
        }
        if (address) munmap(address, length);
    }
};

// A free slot for a new mapping; null when all are taken (the file is then read instead).
Slot* claimSlot(const void* address, size_t length) {
    for (Slot& slot : gSlots) {
        uintptr_t expected = 0;
        if (slot.start.compare_exchange_strong(expected, reinterpret_cast<uintptr_t>(address))) {
            slot.length.store(length);
            return &slot;
        }
    }
    return nullptr;
}

std::optional<Bytes> readStream(int fd, uint64_t maxSize, std::string* error, int* errorCode,
                                size_t expectedSize = 0) {
    std::vector<uint8_t> buffer;
    buffer.reserve(expectedSize);
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
        if (uint64_t(n) > maxSize - buffer.size()) {
            if (error)
                *error = "the input is larger than the limit of " + std::to_string(maxSize) +
                         " bytes (--max-size)";
            if (errorCode) *errorCode = EFBIG;
            return std::nullopt;
        }
        buffer.insert(buffer.end(), chunk, chunk + n);
    }
    return Bytes::adopt(std::move(buffer));
}

}  // namespace

uint64_t mappedInputFaults() {
    return tFaults;
}

std::optional<Bytes> readFileData(const std::string& path, std::string* error, int* errorCode,
                                  uint64_t maxSize) {
    auto fail = [&](int code) -> std::optional<Bytes> {
        if (error) *error = std::strerror(code);
        if (errorCode) *errorCode = code;
        return std::nullopt;
    };
    if (path == "-") return readStream(STDIN_FILENO, maxSize, error, errorCode);
    // Non-blocking, so that opening a FIFO nobody writes to does not wait for a writer.
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
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
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    if (!S_ISREG(st.st_mode) || st.st_size == 0) {
        auto data = readStream(fd, maxSize, error, errorCode);
        ::close(fd);
        return data;
    }
    // Small files are read rather than mapped: unmapping makes every other core the process
    // runs on flush its TLB, which cost a batch on two threads a third of its time.
    constexpr off_t kMapFrom = 128 << 10;
    if (st.st_size < kMapFrom) {
        auto data = readStream(fd, std::max<uint64_t>(maxSize, kMapFrom), error, errorCode,
                               static_cast<size_t>(st.st_size));
        ::close(fd);
        return data;
    }
    installBusHandler();
    auto mapping = std::make_shared<Mapping>();
    mapping->length = static_cast<size_t>(st.st_size);
    void* address = ::mmap(nullptr, mapping->length, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address != MAP_FAILED) {
        mapping->slot = claimSlot(address, mapping->length);
        if (!mapping->slot) {
            ::munmap(address, mapping->length);
            address = MAP_FAILED;
        }
    }
    if (address == MAP_FAILED) {
        auto data =
            readStream(fd, std::max<uint64_t>(maxSize, uint64_t(st.st_size)), error, errorCode);
        ::close(fd);
        return data;
    }
    ::close(fd);
    mapping->address = address;
    const auto* bytes = static_cast<const uint8_t*>(address);
    return Bytes::wrap(mapping, bytes, mapping->length);
}

}  // namespace qb
