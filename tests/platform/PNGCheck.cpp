// Reading back PNG headers and pixels in tests.
#include "PNGCheck.h"

#include <cstring>

namespace qb::test {
namespace {

uint32_t bigEndian32(const Bytes& b, size_t at) {
    return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 |
           uint32_t(b[at + 3]);
}

struct Reading {
    const Bytes* png;
    size_t offset = 0;
};

cairo_status_t readChunk(void* closure, unsigned char* data, unsigned int length) {
    auto* reading = static_cast<Reading*>(closure);
    if (reading->png->size() - reading->offset < length) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(data, reading->png->data() + reading->offset, length);
    reading->offset += length;
    return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::optional<PNGHeader> readPNGHeader(const Bytes& png) {
    static constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (png.size() < 33 || std::memcmp(png.data(), kSignature, 8) != 0) return std::nullopt;
    if (bigEndian32(png, 8) != 13 || png.view().substr(12, 4) != "IHDR") return std::nullopt;
    return PNGHeader{bigEndian32(png, 16), bigEndian32(png, 20)};
}

std::optional<DecodedPNG> DecodedPNG::decode(const Bytes& png) {
    Reading reading{&png};
    cairo_surface_t* surface = cairo_image_surface_create_from_png_stream(readChunk, &reading);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return std::nullopt;
    }
    // Whatever cairo decoded into, look at it as ARGB32.
    if (cairo_image_surface_get_format(surface) != CAIRO_FORMAT_ARGB32) {
        int w = cairo_image_surface_get_width(surface), h = cairo_image_surface_get_height(surface);
        cairo_surface_t* argb = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
        cairo_t* cr = cairo_create(argb);
        cairo_set_source_surface(cr, surface, 0, 0);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
        surface = argb;
    }
    cairo_surface_flush(surface);
    DecodedPNG decoded;
    decoded.surface_.reset(surface, cairo_surface_destroy);
    return decoded;
}

int DecodedPNG::width() const {
    return cairo_image_surface_get_width(surface_.get());
}
int DecodedPNG::height() const {
    return cairo_image_surface_get_height(surface_.get());
}

uint32_t DecodedPNG::pixel(int x, int y) const {
    if (x < 0 || y < 0 || x >= width() || y >= height()) return 0;
    const unsigned char* row = cairo_image_surface_get_data(surface_.get()) +
                               size_t(y) * size_t(cairo_image_surface_get_stride(surface_.get()));
    uint32_t value;
    std::memcpy(&value, row + size_t(x) * 4, 4);
    return value;
}

uint8_t DecodedPNG::alpha(int x, int y) const {
    return uint8_t(pixel(x, y) >> 24);
}
uint8_t DecodedPNG::red(int x, int y) const {
    return uint8_t(pixel(x, y) >> 16);
}
uint8_t DecodedPNG::green(int x, int y) const {
    return uint8_t(pixel(x, y) >> 8);
}
uint8_t DecodedPNG::blue(int x, int y) const {
    return uint8_t(pixel(x, y));
}

int DecodedPNG::opaqueIn(int x0, int y0, int x1, int y1) const {
    int count = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            if (alpha(x, y) > 0) ++count;
    return count;
}

int DecodedPNG::lowestInkedRow() const {
    for (int y = height() - 1; y >= 0; --y)
        if (opaqueIn(0, y, width(), y + 1) > 0) return y;
    return -1;
}

}  // namespace qb::test
