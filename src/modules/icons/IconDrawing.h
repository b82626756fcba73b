// The two pictures of the icons module: a type icon filling 128 x 128, and the icon in 64 px
// with a file name centred under it (pango, "Sans 12", wrapped by words).
#pragma once

#include <cairo.h>

#include <string>
#include <string_view>

#include "modules/icons/IconTheme.h"

namespace qb {

inline constexpr int kIconCanvas = 128;

// Both return a new 128 x 128 ARGB surface (the caller destroys it), or null.
cairo_surface_t* drawTypeIcon(const ThemeIcon& icon);
// `icon` may be null (a machine without the theme): the name is drawn alone.
cairo_surface_t* drawIconWithName(const ThemeIcon* icon, std::string_view name);

// The name as pango can lay it out: valid UTF-8, control characters as spaces, cut to what
// could ever show in the picture.
std::string displayableName(std::string_view name);

}  // namespace qb
