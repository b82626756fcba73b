// SPDX-License-Identifier: Apache-2.0
// Huge-page advice: taken for the aligned inside of a large buffer, never touching bytes.
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/HugePages.h"

namespace qb {
namespace {

constexpr size_t kHuge = size_t{2} << 20;

// The smaps block of the mapping holding `address`.
std::string mappingOf(const void* address) {
    std::ifstream smaps("/proc/self/smaps");
    const auto at = reinterpret_cast<uintptr_t>(address);
    std::string line, block;
    bool inside = false;
    while (std::getline(smaps, line)) {
        uintptr_t from = 0, to = 0;
        char dash = 0;
        std::istringstream head(line);
        if (head >> std::hex >> from >> dash >> to && dash == '-') {
            if (inside) break;
            inside = at >= from && at < to;
        }
        if (inside) block += line + "\n";
    }
    return block;
}

TEST(HugePages, TheAlignedInsideOfALargeBufferIsAdvisedAndItsBytesStay) {
    std::ifstream mode("/sys/kernel/mm/transparent_hugepage/enabled");
    std::string modes;
    std::getline(mode, modes);
    if (modes.find("[never]") != std::string::npos || modes.empty())
        GTEST_SKIP() << "no transparent huge pages here";

    const size_t size = 8 * kHuge;
    void* mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    auto* bytes = static_cast<uint8_t*>(mapped);
    std::memset(bytes, 0x5A, 4096);
    // An unaligned range, as a heap block gives: its aligned inside is advised.
    adviseHugePages(bytes + 100, size - 200);
    const uintptr_t inside = (reinterpret_cast<uintptr_t>(bytes) + 100 + kHuge - 1) & ~(kHuge - 1);
    // "hg": the mapping carries the huge-page advice.
    const std::string mapping = mappingOf(reinterpret_cast<void*>(inside));
    const size_t flags = mapping.find("VmFlags:");
    ASSERT_NE(flags, std::string::npos) << mapping;
    EXPECT_NE((mapping.substr(flags) + " ").find(" hg "), std::string::npos) << mapping;
    // The mapping's first page, outside the aligned part, is not advised.
    const std::string head = mappingOf(bytes);
    EXPECT_EQ((head.substr(head.find("VmFlags:")) + " ").find(" hg "), std::string::npos) << head;
    EXPECT_EQ(bytes[0], 0x5A);
    EXPECT_EQ(bytes[4095], 0x5A);

    // Small ranges and null are left alone.
    adviseHugePages(nullptr, size);
    adviseHugePages(bytes, kHuge);
    munmap(mapped, size);
}

}  // namespace
}  // namespace qb
