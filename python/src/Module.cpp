// SPDX-License-Identifier: Apache-2.0
// The quillbox Python module: open() and the types it returns.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Conversions.h"
#include "Errors.h"
#include "MessageObjects.h"

namespace py = pybind11;

PYBIND11_MODULE(quillbox, module) {
    module.doc() =
        "Outlook mail containers (TNEF streams such as winmail.dat, and .msg files) read into "
        "one message model, with their exports.";
    qb::python::defineErrorType(module);
    qb::python::defineBufferType(module);
    qb::python::defineMessageTypes(module);
    module.def("open", &qb::python::openSource, py::arg("source"), py::arg("name") = py::none(),
               "Reads a TNEF stream or .msg file, told apart by content, from a path (str or "
               "os.PathLike) or from bytes-like data, and returns a Message. `name` stands for "
               "the file in info() and error texts when bytes are given. Raises Error when it "
               "cannot be read. The GIL is released while the file is read.");
}
