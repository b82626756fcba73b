// SPDX-License-Identifier: Apache-2.0
// The memoryview's owner is a small Python object holding a Bytes: the Bytes shares ownership
// of the input buffer, so the view stays valid after the Message is gone.
#include "Conversions.h"

#include <cstring>

#include "ReleasedGIL.h"

namespace py = pybind11;

namespace qb::python {

namespace {

struct BytesOwner {
    Bytes bytes;
};

}  // namespace

py::object text(const std::optional<std::string>& value) {
    if (!value) return py::none();
    PyObject* s =
        PyUnicode_DecodeUTF8(value->data(), static_cast<Py_ssize_t>(value->size()), "replace");
    if (!s) throw py::error_already_set();
    return py::reinterpret_steal<py::object>(s);
}

py::bytes bytesCopy(const void* data, size_t size) {
    // A large copy is made with the GIL released: the object is made first, then filled.
    constexpr size_t kLarge = size_t{1} << 20;
    if (size < kLarge) return py::bytes(static_cast<const char*>(data), size);
    auto out = py::reinterpret_steal<py::bytes>(
        PyBytes_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(size)));
    if (!out) throw py::error_already_set();
    char* target = PyBytes_AS_STRING(out.ptr());
    {
        ReleasedGIL unlocked;
        std::memcpy(target, data, size);
    }
    return out;
}

py::object bytesCopy(const std::optional<Bytes>& value) {
    if (!value) return py::none();
    return bytesCopy(value->data(), value->size());
}

py::object bytesView(const Bytes& value) {
    py::object owner = py::cast(BytesOwner{value});
    return py::memoryview(owner);
}

py::object datetime(const std::optional<Date>& value) {
    if (!value) return py::none();
    // Held for the interpreter's lifetime: a C++ static must not release a Python object
    // after the interpreter has gone.
    static PyObject* epoch = nullptr;
    static PyObject* timedelta = nullptr;
    if (!epoch) {
        py::module_ dt = py::module_::import("datetime");
        py::object utc = dt.attr("timezone").attr("utc");
        epoch = dt.attr("datetime")(1970, 1, 1, 0, 0, 0, 0, utc).release().ptr();
        timedelta = py::object(dt.attr("timedelta")).release().ptr();
    }
    try {
        py::object delta =
            py::reinterpret_borrow<py::object>(timedelta)(0, value->time_since_epoch().count());
        return py::reinterpret_borrow<py::object>(epoch) + delta;
    } catch (py::error_already_set& e) {
        // Outside the years datetime can hold (1-9999): FILETIME reaches past them.
        if (e.matches(PyExc_OverflowError)) return py::none();
        throw;
    }
}

void defineBufferType(py::module_& module) {
    py::class_<BytesOwner>(module, "_Buffer", py::buffer_protocol(),
                           "Read-only bytes of a message, shared with it.")
        .def_buffer([](BytesOwner& owner) {
            // The buffer protocol wants a non-const pointer; the view is read-only.
            auto* data = const_cast<uint8_t*>(owner.bytes.data());
            return py::buffer_info(data, 1, py::format_descriptor<uint8_t>::format(), 1,
                                   {static_cast<py::ssize_t>(owner.bytes.size())}, {1}, true);
        });
}

}  // namespace qb::python
