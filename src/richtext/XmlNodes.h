// Small helpers over libxml2's tree shared by the HTML readers of this folder.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <mutex>
#include <string>

namespace qb {

struct XmlDocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

// libxml2's global set-up, done once before the first parse: worker threads may parse at
// the same time, and the parser's own first-use set-up is not safe against that.
inline void initXmlParser() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

// The value of attribute `name` of an element; empty when it has none.
inline std::string xmlAttribute(xmlNode* node, const char* name) {
    xmlChar* v = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    if (!v) return {};
    std::string out(reinterpret_cast<const char*>(v));
    xmlFree(v);
    return out;
}

}  // namespace qb
