// SPDX-License-Identifier: Apache-2.0
// References are found by scanning the page once for "cid:" and reading up to the end of
// the attribute value, so one identifier that prefixes another cannot take its place.
#include "mime/SelfContainedPage.h"

#include <unordered_map>

#include "mailkit/Base64.h"
#include "mailkit/MimeEncoding.h"

namespace qb {

namespace {

bool endsReference(char c) {
    return c == '"' || c == '\'' || c == ')' || c == '>' || c == '<' || c == ' ' || c == '\t' ||
           c == '\r' || c == '\n';
}

}  // namespace

std::string dataURIForResource(const WebResource& resource) {
    std::string out = "data:" + resource.mimeType + ";base64,";
    appendBase64(out, resource.data.view());
    return out;
}

std::string pageWithResourceURLs(
    std::string_view page, const std::vector<WebResource>& resources,
    const std::function<std::optional<std::string>(const WebResource&)>& urlFor) {
    std::unordered_map<std::string, const WebResource*> byId;
    for (const auto& r : resources)
        if (r.url.starts_with("cid:") && r.url.size() > 4) byId.emplace(r.url.substr(4), &r);
    std::unordered_map<std::string, std::optional<std::string>> urls;  // each made once
    std::string out;
    out.reserve(page.size());
    size_t pos = 0;
    for (;;) {
        const size_t at = page.find("cid:", pos);
        if (at == std::string_view::npos) break;
        size_t end = at + 4;
        while (end < page.size() && !endsReference(page[end]))
            ++end;
        const std::string id(page.substr(at + 4, end - at - 4));
        auto found = byId.find(id);
        if (found == byId.end())
            if (auto unescaped = stringByReplacingPercentEscapes(id, kUTF8Encoding))
                found = byId.find(*unescaped);
        out.append(page.substr(pos, at - pos));
        std::optional<std::string> url;
        if (found != byId.end()) {
            auto [cached, added] = urls.try_emplace(found->first);
            if (added) cached->second = urlFor(*found->second);
            url = cached->second;
        }
        out += url ? *url : std::string(page.substr(at, end - at));
        pos = end;
    }
    out.append(page.substr(pos));
    return out;
}

}  // namespace qb
