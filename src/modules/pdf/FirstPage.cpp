// Rendering a PDF's first page with poppler's page renderer.
#include "modules/pdf/FirstPage.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <span>

namespace qb {
namespace {

constexpr double kMaxPixels = 25e6;

// Renders at `scale`; an empty image when poppler cannot.
poppler::image renderAt(const poppler::page& page, double scale) {
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing, true);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing, true);
    renderer.set_image_format(poppler::image::format_argb32);
    return renderer.render_page(&page, 72 * scale, 72 * scale);
}

}  // namespace

double pageScale(double widthPt, double heightPt, int maxWidth) {
    if (!(widthPt > 0) || !(heightPt > 0) || maxWidth <= 0 || !std::isfinite(widthPt * heightPt))
        return 0;
    double scale = std::min(1.0, maxWidth / widthPt);
    return std::min(scale, std::sqrt(kMaxPixels / (widthPt * heightPt)));
}

cairo_surface_t* renderFirstPage(const uint8_t* pdf, size_t length, int maxWidth) {
    if (!pdf || length == 0 || length > size_t(INT_MAX)) return nullptr;
    std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(reinterpret_cast<const char*>(pdf), int(length)));
    if (!document || document->is_locked() || document->pages() < 1) return nullptr;
    std::unique_ptr<poppler::page> page(document->create_page(0));
    if (!page) return nullptr;

    poppler::rectf box = page->page_rect();
    double width = box.width(), height = box.height();
    // A page turned a quarter is shown turned: its height is the picture's width.
    auto turn = page->orientation();
    if (turn == poppler::page::landscape || turn == poppler::page::seascape)
        std::swap(width, height);
    double scale = pageScale(width, height, maxWidth);
    if (scale <= 0) return nullptr;
    poppler::image image = renderAt(*page, scale);
    // Rounding or a box that disagrees with the renderer: shrink to fit, once.
    if (image.is_valid() && image.width() > maxWidth) {
        scale = scale * maxWidth / image.width() * 0.999;
        image = renderAt(*page, scale);
    }
    if (!image.is_valid() || image.width() <= 0 || image.height() <= 0 ||
        image.width() > maxWidth || image.format() != poppler::image::format_argb32)
        return nullptr;

    const int w = image.width(), h = image.height();
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    // Both are 32-bit native-endian pixels; only the row strides may differ.
    const size_t rowBytes = size_t(w) * 4;
    const size_t sourceStride = size_t(image.bytes_per_row());
    const size_t targetStride = size_t(cairo_image_surface_get_stride(surface));
    if (sourceStride < rowBytes) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    std::span<const char> source(image.const_data(), sourceStride * size_t(h));
    std::span<unsigned char> target(cairo_image_surface_get_data(surface),
                                    targetStride * size_t(h));
    cairo_surface_flush(surface);
    for (size_t row = 0; row < size_t(h); ++row)
        std::memcpy(target.subspan(row * targetStride, rowBytes).data(),
                    source.subspan(row * sourceStride, rowBytes).data(), rowBytes);
    cairo_surface_mark_dirty(surface);
    return surface;
}

}  // namespace qb
