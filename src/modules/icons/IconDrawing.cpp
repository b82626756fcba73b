// Drawing the type icon and the icon with its file name.
#include "modules/icons/IconDrawing.h"

#include <pango/pangocairo.h>

namespace qb {
namespace {

constexpr double kSmallIcon = 64;
constexpr double kIconTop = 4;
constexpr double kTextTop = kIconTop + kSmallIcon + 4;
constexpr double kTextMargin = 4;
// Four lines of twelve-point text fill the picture; far fewer characters than this show.
constexpr size_t kMaxNameBytes = 512;

cairo_surface_t* newCanvas() {
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kIconCanvas, kIconCanvas);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    return surface;
}

}  // namespace

std::string displayableName(std::string_view name) {
    if (name.size() > kMaxNameBytes * 4) name = name.substr(0, kMaxNameBytes * 4);
    gchar* valid = g_utf8_make_valid(name.data(), gssize(name.size()));
    std::string text(valid);
    g_free(valid);
    if (text.size() > kMaxNameBytes) {
        size_t cut = kMaxNameBytes;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
            --cut;
        text.resize(cut);
    }
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    return text;
}

cairo_surface_t* drawTypeIcon(const ThemeIcon& icon) {
    cairo_surface_t* surface = newCanvas();
    if (!surface) return nullptr;
    cairo_t* cr = cairo_create(surface);
    icon.draw(cr, 0, 0, kIconCanvas);
    cairo_destroy(cr);
    return surface;
}

cairo_surface_t* drawIconWithName(const ThemeIcon* icon, std::string_view name) {
    cairo_surface_t* surface = newCanvas();
    if (!surface) return nullptr;
    cairo_t* cr = cairo_create(surface);
    if (icon) icon->draw(cr, (kIconCanvas - kSmallIcon) / 2, kIconTop, kSmallIcon);

    PangoLayout* layout = pango_cairo_create_layout(cr);
    // 72 dpi: a point is a pixel, so "12 pt" in a 128-point picture means what it says.
    pango_cairo_context_set_resolution(pango_layout_get_context(layout), 72);
    pango_layout_context_changed(layout);
    PangoFontDescription* font = pango_font_description_from_string("Sans 12");
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);

    const double width = kIconCanvas - 2 * kTextMargin;
    const double height = kIconCanvas - kTextTop;
    pango_layout_set_width(layout, int(width * PANGO_SCALE));
    // WORD_CHAR: one long word still breaks, so every name fits the width.
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_alignment(layout, PANGO_ALIGN_CENTER);
    // With a height, pango ends the last line that fits with an ellipsis.
    pango_layout_set_height(layout, int(height * PANGO_SCALE));
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
    std::string text = displayableName(name);
    pango_layout_set_text(layout, text.data(), int(text.size()));

    cairo_rectangle(cr, 0, kTextTop, kIconCanvas, height);
    cairo_clip(cr);
    cairo_set_source_rgb(cr, 0.13, 0.13, 0.13);
    cairo_move_to(cr, kTextMargin, kTextTop);
    pango_cairo_show_layout(cr, layout);
    g_object_unref(layout);
    cairo_destroy(cr);
    return surface;
}

}  // namespace qb
