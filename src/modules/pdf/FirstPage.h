// The first page of a PDF rendered with poppler into a cairo surface, at most a given width.
#pragma once

#include <cairo.h>

#include <cstddef>
#include <cstdint>

namespace qb {

// A new RGB24 surface (the caller destroys it), or null when poppler cannot read the document
// or it has no page with a size.
cairo_surface_t* renderFirstPage(const uint8_t* pdf, size_t length, int maxWidth);

// The scale from points to pixels for a page of widthPt x heightPt: 72 dpi, less when that is
// wider than maxWidth, and less again when the picture would pass 25 megapixels. 0 for a page
// without a size.
double pageScale(double widthPt, double heightPt, int maxWidth);

}  // namespace qb
