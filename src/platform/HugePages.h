// SPDX-License-Identifier: Apache-2.0
// Large buffers written once from start to end (a page being made, a picture's bytes) are
// otherwise faulted in 4 KB at a time: on a 200 MB body those faults and their page clearing
// are a fifth of the work, and their cost per byte grows with the working set.
#pragma once

#include <cstddef>

namespace qb {

/// Asks the kernel to back the 2 MB-aligned part of [data, data + size) with huge pages when it
/// is first touched. Only advice: small ranges, kernels without transparent huge pages and
/// other systems are left as they are.
void adviseHugePages(const void* data, size_t size);

}  // namespace qb
