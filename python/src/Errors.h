// SPDX-License-Identifier: Apache-2.0
// quillbox.Error: the reader's ReadError raised in Python, with its domain, code, text and
// offset, and the error record `info --json` would print for the file.
#pragma once

#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "platform/ReadError.h"

namespace qb::python {

// Defines quillbox.Error (a ValueError) in `module`.
void defineErrorType(pybind11::module_& module);

// Raises quillbox.Error for `error`; `file` fills the file name into its message (nothing:
// the input was given as bytes). Needs the GIL.
[[noreturn]] void raiseReadError(const ReadError& error, const std::optional<std::string>& file);

}  // namespace qb::python
