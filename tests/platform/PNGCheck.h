#pragma once

// Reading back the PNGs the drawing modules make: the header fields by hand (signature, IHDR),
// the pixels through cairo.
#include <cairo.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/Bytes.h"

namespace qb::test {

struct PNGHeader {
    uint32_t width = 0;
    uint32_t height = 0;
};
// Width and height from the IHDR chunk, when the bytes start with the PNG signature and it.
std::optional<PNGHeader> readPNGHeader(const Bytes& png);

// The decoded picture as a cairo ARGB32 image, for looking at its pixels.
class DecodedPNG {
  public:
    // Nothing when cairo cannot decode the bytes.
    static std::optional<DecodedPNG> decode(const Bytes& png);

    int width() const;
    int height() const;
    // Alpha and colour channels of one pixel (premultiplied, as cairo keeps them).
    uint8_t alpha(int x, int y) const;
    uint8_t red(int x, int y) const;
    uint8_t green(int x, int y) const;
    uint8_t blue(int x, int y) const;
    // How many pixels of the rectangle are not transparent.
    int opaqueIn(int x0, int y0, int x1, int y1) const;
    // The lowest row (largest y) holding a pixel that is not transparent, -1 when none.
    int lowestInkedRow() const;

  private:
    uint32_t pixel(int x, int y) const;
    std::shared_ptr<cairo_surface_t> surface_;
};

}  // namespace qb::test
