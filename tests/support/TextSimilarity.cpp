// SPDX-License-Identifier: Apache-2.0
#include "support/TextSimilarity.h"

#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include <unordered_map>

namespace qb::test {

std::vector<std::string> wordsOf(std::string_view s) {
    std::vector<std::string> words;
    std::string w;
    for (size_t i = 0; i < s.size(); ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        const bool nbsp = c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0xA0;
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v' || nbsp) {
            if (nbsp) ++i;
            if (!w.empty()) words.push_back(std::move(w));
            w.clear();
        } else {
            w += static_cast<char>(c);
        }
    }
    if (!w.empty()) words.push_back(std::move(w));
    return words;
}

namespace {

using Words = std::vector<std::string>;

// The longest block a[i..i+k) == b[j..j+k) inside the given windows, earliest first.
void longestMatch(const Words& a, size_t alo, size_t ahi, size_t blo, size_t bhi,
                  const std::unordered_map<std::string, std::vector<size_t>>& where, size_t& bi,
                  size_t& bj, size_t& bk) {
    bi = alo, bj = blo, bk = 0;
    std::unordered_map<size_t, size_t> lengths;
    for (size_t i = alo; i < ahi; ++i) {
        std::unordered_map<size_t, size_t> next;
        auto it = where.find(a[i]);
        if (it != where.end()) {
            for (size_t j : it->second) {
                if (j < blo) continue;
                if (j >= bhi) break;
                const size_t k = (j > 0 && lengths.count(j - 1) ? lengths[j - 1] : 0) + 1;
                next[j] = k;
                if (k > bk) bi = i - k + 1, bj = j - k + 1, bk = k;
            }
        }
        lengths.swap(next);
    }
}

}  // namespace

double similarity(const Words& a, const Words& b) {
    if (a.empty() && b.empty()) return 1.0;
    std::unordered_map<std::string, std::vector<size_t>> where;
    for (size_t j = 0; j < b.size(); ++j)
        where[b[j]].push_back(j);
    size_t matched = 0;
    struct Window {
        size_t alo, ahi, blo, bhi;
    };
    std::vector<Window> queue{{0, a.size(), 0, b.size()}};
    while (!queue.empty()) {
        const Window w = queue.back();
        queue.pop_back();
        size_t i, j, k;
        longestMatch(a, w.alo, w.ahi, w.blo, w.bhi, where, i, j, k);
        if (k == 0) continue;
        matched += k;
        if (w.alo < i && w.blo < j) queue.push_back({w.alo, i, w.blo, j});
        if (i + k < w.ahi && j + k < w.bhi) queue.push_back({i + k, w.ahi, j + k, w.bhi});
    }
    return 2.0 * static_cast<double>(matched) / static_cast<double>(a.size() + b.size());
}

std::string firstDifference(const Words& a, const Words& b) {
    size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
    auto excerpt = [i](const Words& w) {
        std::string out;
        for (size_t k = i; k < w.size() && k < i + 12; ++k) out += w[k] + " ";
        return out;
    };
    return "at word " + std::to_string(i) + ": [" + excerpt(a) + "] vs [" + excerpt(b) + "]";
}

namespace {

void collectText(xmlNode* node, std::string& out, int depth) {
    if (depth > 512) return;
    for (xmlNode* n = node; n; n = n->next) {
        if (n->type == XML_ELEMENT_NODE) {
            const std::string_view name(reinterpret_cast<const char*>(n->name));
            if (name == "head" || name == "style" || name == "script" || name == "title") continue;
            if (name == "br" || name == "p" || name == "div" || name == "tr" || name == "li") out += '\n';
            if (name == "td") out += ' ';
            collectText(n->children, out, depth + 1);
            if (name == "p" || name == "div") out += '\n';
        } else if (n->type == XML_TEXT_NODE && n->content) {
            out += reinterpret_cast<const char*>(n->content);
        }
    }
}

}  // namespace

std::string textOfHTML(std::string_view html, const char* encoding) {
    htmlDocPtr doc = htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, encoding,
                                    HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR |
                                        HTML_PARSE_NOWARNING);
    if (!doc) return {};
    std::string out;
    collectText(xmlDocGetRootElement(doc), out, 0);
    xmlFreeDoc(doc);
    return out;
}

}  // namespace qb::test
