// SPDX-License-Identifier: Apache-2.0
// Media types by file extension, for attachment parts and the names the exporters give files.
#pragma once

#include <string>
#include <string_view>

namespace qb {

// The media type mail clients expect for a file name's extension (any case);
// "application/octet-stream" for an unknown or missing extension.
std::string mimeTypeForFilename(std::string_view filename);

// The extension after the last "." of the last path component, without the dot; empty when
// there is none (a leading dot alone does not start an extension).
std::string pathExtension(std::string_view filename);

}  // namespace qb
