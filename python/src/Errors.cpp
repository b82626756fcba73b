// SPDX-License-Identifier: Apache-2.0
// The Error class is written in Python so that it behaves as any exception class does
// (pickling across Dask workers, attributes, str()); C++ only fills it.
#include "Errors.h"

#include <pybind11/eval.h>

#include "Conversions.h"
#include "api/MessageInfo.h"

namespace py = pybind11;

namespace qb::python {

namespace {

constexpr const char* kErrorSource = R"(
class Error(ValueError):
    """A file that could not be read or exported.

    domain and code are the reader's ("TNEFErrorDomain" 2: not a TNEF stream, 3: empty,
    4: cut short; "OXMessageErrorDomain" 2: a compound file holding no message; "POSIX" and
    an errno when the file cannot be read or written; "QBExportErrorDomain" 1: the exports
    would pass the output budget, 2: the body gives no document to make a view of).
    description is the reader's text, offset where reading stopped (or None), file the path
    given (or None for bytes).
    """

    def __init__(self, text, domain, code, description, offset=None, file=None, record=None):
        super().__init__(text)
        self.domain = domain
        self.code = code
        self.description = description
        self.offset = offset
        self.file = file
        self._record = record

    def __reduce__(self):
        return (type(self), (str(self), self.domain, self.code, self.description,
                             self.offset, self.file, self._record))

    def info(self):
        """The error record `quillbox info --json` prints for the file, as a dict."""
        import json
        return json.loads(self._record) if self._record is not None else None
)";

// Held for the interpreter's lifetime (see Conversions.cpp).
PyObject* gErrorType = nullptr;

}  // namespace

void defineErrorType(py::module_& module) {
    py::exec(kErrorSource, module.attr("__dict__"));
    gErrorType = py::object(module.attr("Error")).release().ptr();
}

void raiseReadError(const ReadError& error, const std::optional<std::string>& file) {
    const std::string name = file.value_or("-");
    Dictionary record = errorRecord(name, error);
    if (!file) record["file"] = nullptr;
    py::object offset = error.offset ? py::object(py::int_(*error.offset)) : py::object(py::none());
    // As the command line says it: the file first, unless the reader's text names it.
    std::string shown = error.message(name);
    if (file && shown.find(*file) == std::string::npos) shown = *file + ": " + shown;
    py::object type = py::reinterpret_borrow<py::object>(gErrorType);
    py::object instance = type(text(shown), text(error.domain), py::int_(error.code),
                               text(error.description), offset, text(file), text(infoLine(record)));
    PyErr_SetObject(gErrorType, instance.ptr());
    throw py::error_already_set();
}

}  // namespace qb::python
