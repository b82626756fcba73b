// PNG encoding of a cairo surface into a malloc'd buffer: the form in which the drawing modules
// hand pictures back to the library.
#pragma once

#include <cairo.h>

#include <cstddef>
#include <cstdint>

namespace qb {

// The surface as PNG; null when cairo cannot encode it or memory runs out.
uint8_t* encodePNG(cairo_surface_t* surface, size_t* length);
void releasePNG(uint8_t* buffer);

}  // namespace qb
