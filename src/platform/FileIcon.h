// SPDX-License-Identifier: Apache-2.0
// File icons for attachments: the desktop's icon for a file name's type, drawn by the icons
// module, which is loaded on first use.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/Export.h"

namespace qb {

/// The desktop's icon for files of this name's type (media type from the extension), as a
/// 128 x 128 PNG; the generic document icon when the type has none. Drawn once per type and kept.
/// nullopt when no icon module can be loaded (the caller leaves the picture out).
QB_API std::optional<Bytes> fileTypeIconPNG(std::string_view fileName);
/// A 128 x 128 PNG: the type's icon scaled to 64 px with the file name centred under it
/// (sans, 12 pt, wrapped by words) — what an attachment shows in a message page.
QB_API std::optional<Bytes> fileIconWithNamePNG(std::string_view fileName);

/// The picture shown for an attachment of this file name, as PNG bytes; nothing leaves the
/// picture out. fileTypeIconPNG is the usual one; tests and callers without a desktop give
/// their own.
using FileIconSource = std::function<std::optional<Bytes>(std::string_view fileName)>;

}  // namespace qb
