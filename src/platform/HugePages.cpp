// SPDX-License-Identifier: Apache-2.0
#include "platform/HugePages.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace qb {

void adviseHugePages(const void* data, size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr uintptr_t kHuge = uintptr_t{2} << 20;
    // Below two huge pages the aligned part is at most one: not worth a system call.
    if (!data || size < 2 * kHuge) return;
    const auto start = reinterpret_cast<uintptr_t>(data);
    const uintptr_t first = (start + kHuge - 1) & ~(kHuge - 1);
    const uintptr_t last = (start + size) & ~(kHuge - 1);
    if (last > first)  // failure only means the advice was not taken
        (void)madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
    (void)data;
    (void)size;
#endif
}

}  // namespace qb
