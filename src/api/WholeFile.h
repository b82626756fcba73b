// SPDX-License-Identifier: Apache-2.0
// Single files written whole or not at all.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "mime/MimeBody.h"
#include "platform/Bytes.h"

namespace qb {

// Writes `data` to `path` under a temporary name beside it and renames it over `path` when
// complete, so `path` is never left cut short. A device, a pipe or a symbolic link is
// written in place instead (a rename would replace it). False with errno set on failure,
// and no temporary file left behind.
bool writeFileWhole(const std::string& path, const Bytes& data);
// The same, with the content written by `writeTo` into the open descriptor it is given (false
// with errno set when it fails).
bool writeFileWhole(const std::string& path, const std::function<bool(int fd)>& writeTo);

// Writes all of `data` to the open descriptor, resuming after signals; false with errno.
// Once `cancel` (when given) is true it stops within a megabyte, with EINTR.
bool writeAllTo(int fd, const Bytes& data, const std::atomic<bool>* cancel = nullptr);
bool writeAllTo(int fd, std::string_view data, const std::atomic<bool>* cancel = nullptr);
// Writes the body as it is produced, in the same way.
bool writeBodyTo(int fd, const MimeBody& body, const std::atomic<bool>* cancel = nullptr);

}  // namespace qb
