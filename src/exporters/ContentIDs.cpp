#include "exporters/ContentIDs.h"

#include <cctype>

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

namespace {

constexpr uint32_t PR_BODY_HTML_TEXT = 0x1013001E;

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

}  // namespace

std::string bareContentID(std::string_view contentID) {
    while (!contentID.empty() && std::isspace(static_cast<unsigned char>(contentID.front())))
        contentID.remove_prefix(1);
    while (!contentID.empty() && std::isspace(static_cast<unsigned char>(contentID.back())))
        contentID.remove_suffix(1);
    if (contentID.size() >= 2 && contentID.front() == '<' && contentID.back() == '>')
        contentID = contentID.substr(1, contentID.size() - 2);
    return std::string(contentID);
}

std::string normalizedContentID(std::string_view contentID) {
    std::string out = bareContentID(contentID);
    for (char& c : out)
        c = lower(c);
    return out;
}

std::set<std::string> contentIDsReferencedBy(std::string_view html) {
    std::set<std::string> ids;
    for (size_t i = 0; i + 4 <= html.size(); ++i) {
        if (lower(html[i]) != 'c' || lower(html[i + 1]) != 'i' || lower(html[i + 2]) != 'd' ||
            html[i + 3] != ':')
            continue;
        size_t end = i + 4;
        while (end < html.size() && !std::isspace(static_cast<unsigned char>(html[end])) &&
               std::string_view("\"'()<>").find(html[end]) == std::string_view::npos)
            ++end;
        if (end > i + 4) ids.insert(normalizedContentID(html.substr(i + 4, end - i - 4)));
        i = end - 1;
    }
    return ids;
}

std::set<std::string> contentIDsReferencedByHTMLBody(const OutlookMessage& message) {
    const MAPIPropList* props = message.mapiprops();
    if (auto bytes = bytesForProperty(props, PR_BODY_HTML))
        return contentIDsReferencedBy(bytes->view());
    if (auto text = stringForProperty(props, PR_BODY_HTML_TEXT))
        return contentIDsReferencedBy(*text);
    return {};
}

}  // namespace qb
