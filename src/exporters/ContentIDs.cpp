// SPDX-License-Identifier: Apache-2.0
// A scan for "cid:" URLs in the raw HTML, with ids unbracketed, percent-decoded and compared
// without case.
#include "exporters/ContentIDs.h"

#include <cctype>

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/AsciiCase.h"
#include "platform/HexDigits.h"

namespace qb {

namespace {

// A reference may escape its characters ("%40" for "@").
std::string percentDecoded(std::string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '%' && i + 2 < s.size() && hexDigitValue(s[i + 1]) >= 0 &&
            hexDigitValue(s[i + 2]) >= 0) {
            out += static_cast<char>(hexDigitValue(s[i + 1]) * 16 + hexDigitValue(s[i + 2]));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

}  // namespace

namespace {

std::string urlEscaped(std::string_view text, bool keepSlashes) {
    std::string out;
    for (unsigned char c : text) {
        const bool alnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (alnum || c == '-' || c == '_' || c == '.' || c == '~' || (keepSlashes && c == '/')) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += kUpperHexDigits[c >> 4];
            out += kUpperHexDigits[c & 15];
        }
    }
    return out;
}

}  // namespace

std::string urlEscapedFileName(std::string_view name) {
    return urlEscaped(name, false);
}

std::string urlEscapedPath(std::string_view path) {
    return urlEscaped(path, true);
}

namespace {

// Calls `f(start, end, id)` for each "cid:" URL of `html`: where it begins and ends, and its
// normalised content id.
template <typename F>
void forEachReference(std::string_view html, F&& f) {
    for (size_t i = 0; i + 4 <= html.size(); ++i) {
        if (toLowerASCII(html[i]) != 'c' || toLowerASCII(html[i + 1]) != 'i' ||
            toLowerASCII(html[i + 2]) != 'd' || html[i + 3] != ':')
            continue;
        size_t end = i + 4;
        while (end < html.size() && !std::isspace(static_cast<unsigned char>(html[end])) &&
               std::string_view("\"'()<>").find(html[end]) == std::string_view::npos)
            ++end;
        if (end > i + 4)
            f(i, end, normalizedContentID(percentDecoded(html.substr(i + 4, end - i - 4))));
        i = end - 1;
    }
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
        c = toLowerASCII(c);
    return out;
}

std::optional<std::string> contentIDOfURL(std::string_view url) {
    while (!url.empty() && std::isspace(static_cast<unsigned char>(url.front())))
        url.remove_prefix(1);
    if (url.size() <= 4 || !startsWithIgnoringASCIICase(url, "cid:")) return std::nullopt;
    return normalizedContentID(percentDecoded(url.substr(4)));
}

std::set<std::string> contentIDsReferencedBy(std::string_view html) {
    std::set<std::string> ids;
    forEachReference(html, [&](size_t, size_t, std::string id) { ids.insert(std::move(id)); });
    return ids;
}

std::string htmlWithContentIDsLinked(std::string_view html, const ContentIDFiles& files) {
    if (files.empty()) return std::string(html);
    std::string out;
    out.reserve(html.size());
    size_t pos = 0;
    forEachReference(html, [&](size_t start, size_t end, const std::string& id) {
        const auto file = files.find(id);
        if (file == files.end()) return;
        out.append(html.substr(pos, start - pos));
        out += urlEscapedFileName(file->second);
        pos = end;
    });
    out.append(html.substr(pos));
    return out;
}

std::set<std::string> contentIDsReferencedByHTMLBody(const OutlookMessage& message) {
    const MAPIPropList* props = message.mapiprops();
    if (auto bytes = bytesForProperty(props, PR_BODY_HTML))
        return contentIDsReferencedBy(bytes->view());
    if (auto text = stringForProperty(props, PR_BODY_HTML_STRING8))
        return contentIDsReferencedBy(*text);
    return {};
}

}  // namespace qb
