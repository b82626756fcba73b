// Icons of a freedesktop icon theme (Adwaita), found by name among its mimetypes folders and
// loaded once: the scalable SVG when there is one, else the largest PNG.
#pragma once

#include <cairo.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qb {

// One loaded icon, drawn centred into a square at any size.
class ThemeIcon {
  public:
    virtual ~ThemeIcon() = default;
    virtual void draw(cairo_t* cr, double x, double y, double size) const = 0;
};

class IconTheme {
  public:
    explicit IconTheme(std::string root);

    // The names tried for a media type, in order: the type itself ("application-pdf"), its
    // generic icon from the MIME data, "<top>-x-generic", "application-x-generic".
    static std::vector<std::string> candidateNames(std::string_view mediaType,
                                                   std::string_view genericIcon);
    // The first of the type's names the theme has, or nullptr when it has none. Not
    // thread-safe: the module calls it under its lock.
    const ThemeIcon* iconFor(std::string_view mediaType, std::string_view genericIcon);

  private:
    const ThemeIcon* icon(const std::string& name);

    std::string root_;
    std::vector<std::string> pngFolders_;  // "512x512/mimetypes", ... largest first
    std::map<std::string, std::unique_ptr<ThemeIcon>> loaded_;  // null: the theme has none
};

}  // namespace qb
