// Rewriting "cid:" references of a page to file names.
#include "exporters/ContentIDLinks.h"

#include <fmt/format.h>

namespace qb {

namespace {

char lowerASCII(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = lowerASCII(c);
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The reference as written may escape its characters ("%40" for "@").
std::string percentDecoded(std::string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '%' && i + 2 < s.size() && hexValue(s[i + 1]) >= 0 && hexValue(s[i + 2]) >= 0) {
            out += static_cast<char>(hexValue(s[i + 1]) * 16 + hexValue(s[i + 2]));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

std::string percentEncoded(std::string_view name) {
    std::string out;
    for (unsigned char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' || c == '~';
        if (plain)
            out += static_cast<char>(c);
        else
            out += fmt::format("%{:02X}", c);
    }
    return out;
}

bool endsReference(char c) {
    return c == '"' || c == '\'' || c == ')' || c == '>' || c == ' ' || c == '\t' || c == '\r' ||
           c == '\n';
}

}  // namespace

std::string contentIDKey(std::string_view id) {
    if (id.size() >= 2 && id.front() == '<' && id.back() == '>') id = id.substr(1, id.size() - 2);
    std::string key(id);
    for (char& c : key) c = lowerASCII(c);
    return key;
}

std::string htmlWithContentIDsLinked(std::string_view html, const ContentIDFiles& files) {
    if (files.empty()) return std::string(html);
    std::string out;
    out.reserve(html.size());
    size_t pos = 0;
    for (size_t i = 0; i + 4 <= html.size(); ++i) {
        if (lowerASCII(html[i]) != 'c' || lowerASCII(html[i + 1]) != 'i' ||
            lowerASCII(html[i + 2]) != 'd' || html[i + 3] != ':')
            continue;
        size_t end = i + 4;
        while (end < html.size() && !endsReference(html[end])) ++end;
        const auto file = files.find(contentIDKey(percentDecoded(html.substr(i + 4, end - i - 4))));
        if (file == files.end()) continue;
        out.append(html.substr(pos, i - pos));
        out += percentEncoded(file->second);
        pos = end;
        i = end - 1;
    }
    out.append(html.substr(pos));
    return out;
}

}  // namespace qb
