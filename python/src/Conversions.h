// SPDX-License-Identifier: Apache-2.0
// Values of the message model as Python objects: text, bytes, dates and zero-copy views.
#pragma once

#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/Date.h"

namespace qb::python {

// UTF-8 text as str, with any invalid byte replaced rather than raising; None when absent.
pybind11::object text(const std::optional<std::string>& value);
// A copy of the bytes as bytes; None when absent.
pybind11::object bytesCopy(const std::optional<Bytes>& value);
pybind11::bytes bytesCopy(const void* data, size_t size);
// A read-only memoryview over the bytes themselves: it keeps the buffer they are a window
// onto (the mapped file or the message's own copy) alive, and copies nothing.
pybind11::object bytesView(const Bytes& value);
// A timezone-aware datetime in UTC; None when absent.
pybind11::object datetime(const std::optional<Date>& value);

// Registers the buffer type bytesView hands out.
void defineBufferType(pybind11::module_& module);

}  // namespace qb::python
