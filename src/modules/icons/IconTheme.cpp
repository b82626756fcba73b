// Finding and loading a theme's mimetype icons.
#include "modules/icons/IconTheme.h"

#include <librsvg/rsvg.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace qb {
namespace {

class PNGIcon final : public ThemeIcon {
  public:
    explicit PNGIcon(cairo_surface_t* surface) : surface_(surface) {}
    ~PNGIcon() override { cairo_surface_destroy(surface_); }
    PNGIcon(const PNGIcon&) = delete;
    PNGIcon& operator=(const PNGIcon&) = delete;

    void draw(cairo_t* cr, double x, double y, double size) const override {
        int width = cairo_image_surface_get_width(surface_);
        int height = cairo_image_surface_get_height(surface_);
        if (width <= 0 || height <= 0) return;
        double scale = size / std::max(width, height);
        cairo_save(cr);
        cairo_translate(cr, x + (size - width * scale) / 2, y + (size - height * scale) / 2);
        cairo_scale(cr, scale, scale);
        cairo_set_source_surface(cr, surface_, 0, 0);
        // GOOD filters when shrinking (512 px to 64), where the default would alias.
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
        cairo_paint(cr);
        cairo_restore(cr);
    }

  private:
    cairo_surface_t* surface_;
};

class SVGIcon final : public ThemeIcon {
  public:
    explicit SVGIcon(RsvgHandle* handle) : handle_(handle) {}
    ~SVGIcon() override { g_object_unref(handle_); }
    SVGIcon(const SVGIcon&) = delete;
    SVGIcon& operator=(const SVGIcon&) = delete;

    void draw(cairo_t* cr, double x, double y, double size) const override {
        RsvgRectangle viewport{x, y, size, size};
        GError* error = nullptr;
        rsvg_handle_render_document(handle_, cr, &viewport, &error);
        if (error) g_error_free(error);
    }

  private:
    RsvgHandle* handle_;
};

// The pixel size of a folder named "NxN", or 0.
int squareSize(std::string_view folder) {
    size_t x = folder.find('x');
    if (x == std::string_view::npos || folder.substr(0, x) != folder.substr(x + 1)) return 0;
    int size = 0;
    auto [end, error] = std::from_chars(folder.data(), folder.data() + x, size);
    return error == std::errc() && end == folder.data() + x ? size : 0;
}

}  // namespace

IconTheme::IconTheme(std::string root) : root_(std::move(root)) {
    std::vector<std::pair<int, std::string>> sizes;
    std::error_code error;
    for (std::filesystem::directory_iterator it(root_, error), end; !error && it != end;
         it.increment(error)) {
        std::string folder = it->path().filename().string();
        if (int size = squareSize(folder); size > 0) sizes.emplace_back(size, folder);
    }
    std::sort(sizes.begin(), sizes.end(), std::greater<>());
    for (auto& [size, folder] : sizes)
        pngFolders_.push_back(folder + "/mimetypes");
}

std::vector<std::string> IconTheme::candidateNames(std::string_view mediaType,
                                                   std::string_view genericIcon) {
    std::vector<std::string> names;
    auto add = [&](std::string name) {
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(std::move(name));
    };
    std::string own(mediaType);
    std::replace(own.begin(), own.end(), '/', '-');
    add(own);
    add(std::string(genericIcon));
    if (size_t slash = mediaType.find('/'); slash != std::string_view::npos && slash > 0)
        add(std::string(mediaType.substr(0, slash)) + "-x-generic");
    add("application-x-generic");
    return names;
}

const ThemeIcon* IconTheme::iconFor(std::string_view mediaType, std::string_view genericIcon) {
    for (const auto& name : candidateNames(mediaType, genericIcon))
        if (const ThemeIcon* found = icon(name)) return found;
    return nullptr;
}

const ThemeIcon* IconTheme::icon(const std::string& name) {
    if (auto at = loaded_.find(name); at != loaded_.end()) return at->second.get();
    std::unique_ptr<ThemeIcon> loaded;
    std::string svg = root_ + "/scalable/mimetypes/" + name + ".svg";
    std::error_code error;
    if (std::filesystem::is_regular_file(svg, error)) {
        GError* svgError = nullptr;
        if (RsvgHandle* handle = rsvg_handle_new_from_file(svg.c_str(), &svgError))
            loaded = std::make_unique<SVGIcon>(handle);
        if (svgError) g_error_free(svgError);
    }
    for (size_t i = 0; !loaded && i < pngFolders_.size(); ++i) {
        std::string png = root_ + "/" + pngFolders_[i] + "/" + name + ".png";
        if (!std::filesystem::is_regular_file(png, error)) continue;
        cairo_surface_t* surface = cairo_image_surface_create_from_png(png.c_str());
        if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS)
            loaded = std::make_unique<PNGIcon>(surface);
        else
            cairo_surface_destroy(surface);
    }
    return loaded_.emplace(name, std::move(loaded)).first->second.get();
}

}  // namespace qb
