// PNG encoding of a cairo surface into a malloc'd buffer.
#include "modules/drawing/CairoPNG.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace qb {
namespace {

cairo_status_t appendToVector(void* closure, const unsigned char* data, unsigned int length) {
    auto* out = static_cast<std::vector<uint8_t>*>(closure);
    try {
        out->insert(out->end(), data, data + length);
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

}  // namespace

uint8_t* encodePNG(cairo_surface_t* surface, size_t* length) {
    *length = 0;
    if (!surface || cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) return nullptr;
    cairo_surface_flush(surface);
    std::vector<uint8_t> png;
    if (cairo_surface_write_to_png_stream(surface, appendToVector, &png) != CAIRO_STATUS_SUCCESS ||
        png.empty())
        return nullptr;
    auto* buffer = static_cast<uint8_t*>(std::malloc(png.size()));
    if (!buffer) return nullptr;
    std::memcpy(buffer, png.data(), png.size());
    *length = png.size();
    return buffer;
}

void releasePNG(uint8_t* buffer) {
    std::free(buffer);
}

}  // namespace qb
