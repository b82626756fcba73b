// shared-mime-info's globs2 and generic-icons, read once and looked up by file name.
#include "modules/icons/MimeDatabase.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

#include "platform/AsciiCase.h"

namespace qb {
namespace {

constexpr std::string_view kUnknownType = "application/octet-stream";
// The real files are a few hundred kilobytes; anything far larger is not one.
constexpr std::streamsize kMaxFileSize = 16 << 20;
// fnmatch backtracks: a pattern of many stars takes time exponential in them. The real
// patterns ("*.so.[0-9]*", "README*") have two at most.
constexpr size_t kMaxPatternLength = 64;
constexpr long kMaxPatternStars = 3;

std::string readSmallFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::string text;
    char chunk[8192];
    while (in.read(chunk, sizeof chunk) || in.gcount() > 0) {
        text.append(chunk, size_t(in.gcount()));
        if (std::streamsize(text.size()) > kMaxFileSize) return {};
    }
    return text;
}

// Calls `line` for each line of `text` that is neither empty nor a comment.
template <typename F>
void forEachLine(std::string_view text, F line) {
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view current = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!current.empty() && current.back() == '\r') current.remove_suffix(1);
        if (!current.empty() && current.front() != '#') line(current);
    }
}

std::vector<std::string_view> splitColons(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        size_t colon = line.find(':');
        fields.push_back(line.substr(0, colon));
        if (colon == std::string_view::npos) return fields;
        line.remove_prefix(colon + 1);
    }
}

bool hasWildcard(std::string_view glob) {
    return glob.find_first_of("*?[") != std::string_view::npos;
}

// A media type is "type/subtype" with neither part empty.
bool isMediaType(std::string_view type) {
    size_t slash = type.find('/');
    return slash != std::string_view::npos && slash > 0 && slash + 1 < type.size() &&
           type.find('/', slash + 1) == std::string_view::npos;
}

}  // namespace

MimeDatabase MimeDatabase::load(const std::string& dir) {
    return parse(readSmallFile(dir + "/globs2"), readSmallFile(dir + "/generic-icons"));
}

MimeDatabase MimeDatabase::parse(std::string_view globs2, std::string_view genericIcons) {
    MimeDatabase db;
    forEachLine(globs2, [&](std::string_view line) {
        auto fields = splitColons(line);
        if (fields.size() < 3) return;
        int weight = 0;
        auto [end, error] =
            std::from_chars(fields[0].data(), fields[0].data() + fields[0].size(), weight);
        if (error != std::errc() || end != fields[0].data() + fields[0].size()) return;
        if (!isMediaType(fields[1]) || fields[2].empty() || fields[2] == "__NOGLOBS__") return;
        bool caseSensitive = false;
        if (fields.size() > 3) {
            for (std::string_view flags = fields[3]; !flags.empty();) {
                size_t comma = flags.find(',');
                if (flags.substr(0, comma) == "cs") caseSensitive = true;
                flags =
                    comma == std::string_view::npos ? std::string_view() : flags.substr(comma + 1);
            }
        }
        db.addGlob(fields[2], Match{std::string(fields[1]), weight}, caseSensitive);
    });
    forEachLine(genericIcons, [&](std::string_view line) {
        size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon + 1 >= line.size()) return;
        std::string_view type = line.substr(0, colon), icon = line.substr(colon + 1);
        if (isMediaType(type) && icon.find('/') == std::string_view::npos)
            db.genericIcons_.try_emplace(std::string(type), std::string(icon));
    });
    return db;
}

void MimeDatabase::keepHeavier(std::unordered_map<std::string, Match>& map, std::string key,
                               const Match& match) {
    auto [at, inserted] = map.try_emplace(std::move(key), match);
    if (!inserted && match.weight > at->second.weight) at->second = match;
}

void MimeDatabase::addGlob(std::string_view glob, Match match, bool caseSensitive) {
    if (!hasWildcard(glob)) {
        if (caseSensitive)
            keepHeavier(literalExact_, std::string(glob), match);
        else
            keepHeavier(literalFolded_, lowercasedASCII(glob), match);
    } else if (glob.front() == '*' && glob.size() > 1 && !hasWildcard(glob.substr(1))) {
        if (caseSensitive)
            keepHeavier(suffixExact_, std::string(glob.substr(1)), match);
        else
            keepHeavier(suffixFolded_, lowercasedASCII(glob.substr(1)), match);
    } else if (glob.size() <= kMaxPatternLength &&
               std::count(glob.begin(), glob.end(), '*') <= kMaxPatternStars) {
        patterns_.push_back(Pattern{std::string(glob), std::move(match), caseSensitive});
    }
}

std::string MimeDatabase::mediaType(std::string_view fileName) const {
    // The name's last component: attachment names sometimes carry a path of either kind.
    if (size_t sep = fileName.find_last_of("/\\"); sep != std::string_view::npos)
        fileName.remove_prefix(sep + 1);
    if (fileName.empty()) return std::string(kUnknownType);
    std::string name(fileName), folded = lowercasedASCII(fileName);

    if (auto at = literalExact_.find(name); at != literalExact_.end()) return at->second.type;
    if (auto at = literalFolded_.find(folded); at != literalFolded_.end()) return at->second.type;

    // Longest suffix first: "*.tar.gz" before "*.gz".
    for (size_t i = 0; i < name.size(); ++i) {
        const Match* exact = nullptr;
        const Match* loose = nullptr;
        if (auto at = suffixExact_.find(name.substr(i)); at != suffixExact_.end())
            exact = &at->second;
        if (auto at = suffixFolded_.find(folded.substr(i)); at != suffixFolded_.end())
            loose = &at->second;
        if (exact && loose) return (loose->weight > exact->weight ? loose : exact)->type;
        if (exact || loose) return (exact ? exact : loose)->type;
    }

    const Match* best = nullptr;
    for (const auto& pattern : patterns_) {
        const std::string& subject = pattern.caseSensitive ? name : folded;
        const std::string glob =
            pattern.caseSensitive ? pattern.glob : lowercasedASCII(pattern.glob);
        if (fnmatch(glob.c_str(), subject.c_str(), 0) == 0 &&
            (!best || pattern.match.weight > best->weight))
            best = &pattern.match;
    }
    return best ? best->type : std::string(kUnknownType);
}

std::string MimeDatabase::genericIcon(std::string_view mediaType) const {
    auto at = genericIcons_.find(std::string(mediaType));
    return at == genericIcons_.end() ? std::string() : at->second;
}

}  // namespace qb
