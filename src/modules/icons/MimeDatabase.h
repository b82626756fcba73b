// The shared-mime-info data the icons need: file-name globs to media types (globs2) and the
// generic icon of each type (generic-icons), read from their text files once.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qb {

class MimeDatabase {
  public:
    // Reads `<dir>/globs2` and `<dir>/generic-icons`; missing or unreadable files leave it empty.
    static MimeDatabase load(const std::string& dir);
    // From the texts themselves, tolerantly: lines that do not parse are skipped.
    static MimeDatabase parse(std::string_view globs2, std::string_view genericIcons);

    // The media type of files with this name; "application/octet-stream" when none matches.
    // A literal name wins over suffixes, a longer suffix over a shorter one, then weight.
    std::string mediaType(std::string_view fileName) const;
    // The generic icon name of the type, or "" when the data names none.
    std::string genericIcon(std::string_view mediaType) const;

  private:
    struct Match {
        std::string type;
        int weight = 0;
    };
    struct Pattern {
        std::string glob;
        Match match;
        bool caseSensitive = false;
    };
    // Of two globs for one name, the heavier one counts.
    static void keepHeavier(std::unordered_map<std::string, Match>& map, std::string key,
                            const Match& match);
    void addGlob(std::string_view glob, Match match, bool caseSensitive);

    // Keys of the case-insensitive maps are lowercased (ASCII).
    std::unordered_map<std::string, Match> literalExact_, literalFolded_;
    std::unordered_map<std::string, Match> suffixExact_, suffixFolded_;
    std::vector<Pattern> patterns_;
    std::unordered_map<std::string, std::string> genericIcons_;
};

}  // namespace qb
