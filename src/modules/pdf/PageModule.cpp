// SPDX-License-Identifier: Apache-2.0
// The PDF module's entry point: its C function table over the first-page renderer. This module
// links poppler and so is GPL-2.0-or-later; the library loads it only when it is installed.
#include <poppler-global.h>

#include <mutex>

#include "modules/drawing/CairoPNG.h"
#include "modules/pdf/FirstPage.h"
#include "platform/DrawingModules.h"

namespace qb {
namespace {

// Poppler keeps process-wide state (its global parameters, font caches); one page at a time.
std::mutex rendering;

// Damaged documents are expected input: poppler's complaints about them are not ours to print.
void quiet(const std::string&, void*) {}

uint8_t* firstPagePNG(const uint8_t* pdf, size_t pdfLength, int maxWidth, size_t* pngLength,
                      int* width, int* height) {
    *pngLength = 0;
    *width = *height = 0;
    std::lock_guard lock(rendering);
    static std::once_flag silenced;
    std::call_once(silenced, [] { poppler::set_debug_error_function(quiet, nullptr); });
    cairo_surface_t* surface = renderFirstPage(pdf, pdfLength, maxWidth);
    if (!surface) return nullptr;
    uint8_t* png = encodePNG(surface, pngLength);
    if (png) {
        *width = cairo_image_surface_get_width(surface);
        *height = cairo_image_surface_get_height(surface);
    }
    cairo_surface_destroy(surface);
    return png;
}

const QBPageModuleTable table{kPageModuleVersion, firstPagePNG, releasePNG};

}  // namespace
}  // namespace qb

// Declared as giving `const void*`, the one type the loader calls every entry point through.
extern "C" __attribute__((visibility("default"))) const void* qb_page_module() {
    return &qb::table;
}
