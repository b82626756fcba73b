// Pages that refer to their pictures by content id ("cid:image001.png@01D0…"), pointed at
// the files those pictures were written to, so that the page opens in a browser with them.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace qb {

// Content ids (without "cid:" and angle brackets, compared case-insensitively) to the
// relative names of the files that hold those parts.
using ContentIDFiles = std::map<std::string, std::string>;

// The content id an attachment declares, as "cid:" references name it: without the angle
// brackets that some writers keep, in lower case.
std::string contentIDKey(std::string_view contentId);

// `html` with every "cid:ID" whose ID is in `files` replaced by that file's name, escaped
// for a URL; other references stay as they are.
std::string htmlWithContentIDsLinked(std::string_view html, const ContentIDFiles& files);

}  // namespace qb
