// SPDX-License-Identifier: Apache-2.0
// The icons module's entry point: its C function table over the MIME data, the theme and the
// drawing.
#include <cstring>
#include <mutex>
#include <string>

#include "modules/drawing/CairoPNG.h"
#include "modules/icons/IconDrawing.h"
#include "modules/icons/IconTheme.h"
#include "modules/icons/MimeDatabase.h"
#include "platform/DrawingModules.h"

namespace qb {
namespace {

const MimeDatabase& mimeDatabase() {
    static const MimeDatabase db = MimeDatabase::load("/usr/share/mime");
    return db;
}

// Cairo, pango and fontconfig are not all safe for concurrent use; pictures are small and
// kept by the library, so drawing one at a time costs little.
std::mutex drawing;

IconTheme& theme() {
    static IconTheme adwaita("/usr/share/icons/Adwaita");
    return adwaita;
}

size_t mediaType(const char* name, size_t nameLength, char* out, size_t capacity) {
    std::string type = mimeDatabase().mediaType(std::string_view(name, nameLength));
    if (type.size() + 1 > capacity) return 0;
    std::memcpy(out, type.c_str(), type.size() + 1);
    return type.size();
}

uint8_t* finish(cairo_surface_t* surface, size_t* pngLength) {
    if (!surface) return nullptr;
    uint8_t* png = encodePNG(surface, pngLength);
    cairo_surface_destroy(surface);
    return png;
}

uint8_t* typeIconPNG(const char* type, size_t* pngLength) {
    *pngLength = 0;
    std::lock_guard lock(drawing);
    const ThemeIcon* icon = theme().iconFor(type, mimeDatabase().genericIcon(type));
    return icon ? finish(drawTypeIcon(*icon), pngLength) : nullptr;
}

uint8_t* iconWithNamePNG(const char* type, const char* name, size_t nameLength, size_t* pngLength) {
    *pngLength = 0;
    std::lock_guard lock(drawing);
    const ThemeIcon* icon = theme().iconFor(type, mimeDatabase().genericIcon(type));
    return finish(drawIconWithName(icon, std::string_view(name, nameLength)), pngLength);
}

const QBIconModuleTable table{kIconModuleVersion, mediaType, typeIconPNG, iconWithNamePNG,
                              releasePNG};

}  // namespace
}  // namespace qb

// Declared as giving `const void*`, the one type the loader calls every entry point through.
extern "C" __attribute__((visibility("default"))) const void* qb_icon_module() {
    return &qb::table;
}
