// SPDX-License-Identifier: Apache-2.0
#include "support/HtmlQuery.h"

#include <libxml/HTMLparser.h>

#include <functional>

namespace qb::test {

namespace {

void walk(xmlNode* node, const std::function<void(xmlNode*)>& f) {
    for (xmlNode* n = node; n; n = n->next) {
        f(n);
        if (n->type == XML_ELEMENT_NODE) walk(n->children, f);
    }
}

}  // namespace

HtmlQuery::HtmlQuery(std::string_view html)
    : doc_(htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                          HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING)) {
    if (doc_ && !xmlDocGetRootElement(doc_.get())) doc_.reset();
}

xmlNode* HtmlQuery::root() const {
    return doc_ ? xmlDocGetRootElement(doc_.get()) : nullptr;
}

xmlNode* HtmlQuery::byId(const std::string& id) const {
    xmlNode* found = nullptr;
    walk(root(), [&](xmlNode* n) {
        if (!found && n->type == XML_ELEMENT_NODE && xmlAttribute(n, "id") == id) found = n;
    });
    return found;
}

std::vector<xmlNode*> HtmlQuery::elements(const std::string& name, const std::string& cssClass,
                                          xmlNode* from) const {
    std::vector<xmlNode*> out;
    xmlNode* start = from ? from : root();
    if (!start) return out;
    walk(start->children, [&](xmlNode* n) {
        if (isElement(n, name.c_str()) &&
            (cssClass.empty() || xmlAttribute(n, "class") == cssClass))
            out.push_back(n);
    });
    return out;
}

std::vector<xmlNode*> HtmlQuery::children(xmlNode* node) {
    std::vector<xmlNode*> out;
    for (xmlNode* n = node ? node->children : nullptr; n; n = n->next)
        if (n->type == XML_ELEMENT_NODE) out.push_back(n);
    return out;
}

std::string HtmlQuery::text(xmlNode* node) {
    if (!node) return {};
    xmlChar* content = xmlNodeGetContent(node);
    std::string out = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return out;
}

}  // namespace qb::test
