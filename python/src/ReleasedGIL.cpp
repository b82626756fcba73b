// SPDX-License-Identifier: Apache-2.0
#include "ReleasedGIL.h"

#include <utility>
#include <vector>

namespace qb::python {

namespace {

// Small, as every idle thread of a pool may hold this much until it is used again; a message
// of a megabyte or more is freed at once, its cost small beside reading it.
constexpr size_t kMaxHeldValues = 64;
constexpr size_t kMaxHeldBytes = 1u << 20;

// Per thread, so no lock: each thread frees only what it dropped. Freed at thread exit too.
struct Dropped {
    std::vector<std::shared_ptr<void>> values;
    size_t bytes = 0;

    void free() {
        values.clear();
        bytes = 0;
    }
};

thread_local Dropped dropped;

bool interpreterFinalizing() {
#if PY_VERSION_HEX >= 0x030D0000
    return Py_IsFinalizing();
#else
    return _Py_IsFinalizing();
#endif
}

}  // namespace

void releaseLater(std::shared_ptr<void> value, size_t bytes) {
    if (!value) return;
    dropped.values.push_back(std::move(value));
    dropped.bytes += bytes;
    // Not while the interpreter shuts down: then the GIL is not given up; exit frees them.
    if ((dropped.values.size() >= kMaxHeldValues || dropped.bytes >= kMaxHeldBytes) &&
        !interpreterFinalizing())
        ReleasedGIL freeNow;
}

ReleasedGIL::ReleasedGIL() {
    dropped.free();
}

}  // namespace qb::python
