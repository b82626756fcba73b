// SPDX-License-Identifier: Apache-2.0
// Work done with the GIL released, and C++ values freed without it.
//
// Python threads share the cores only while the GIL changes hands rarely: each handoff wakes a
// sleeping thread, and a thread whose wait is shorter than that wake-up takes the GIL back
// before the woken one gets it. So a file costs one release per call (open, then the export
// asked for), and what Python drops (a message, an info record) is not freed there, under
// the GIL, but by the same thread's next call, with the GIL released.
#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>

namespace qb::python {

// Keeps `value` until this thread next releases the GIL through ReleasedGIL. `bytes` is
// roughly what freeing it gives back: past a megabyte or a few dozen values, this
// thread frees what it holds at once.
void releaseLater(std::shared_ptr<void> value, size_t bytes);

// The GIL released for the scope; first frees what this thread set aside.
class ReleasedGIL {
  public:
    ReleasedGIL();

  private:
    pybind11::gil_scoped_release released_;
};

}  // namespace qb::python
