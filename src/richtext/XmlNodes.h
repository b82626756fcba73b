// SPDX-License-Identifier: Apache-2.0
// Small helpers over libxml2's tree shared by the HTML readers of this folder.
#pragma once

#include <libxml/tree.h>

#include <string>

namespace qb {

struct XmlDocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

// The value of attribute `name` of an element; empty when it has none.
inline std::string xmlAttribute(xmlNode* node, const char* name) {
    xmlChar* v = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    if (!v) return {};
    std::string out(reinterpret_cast<const char*>(v));
    xmlFree(v);
    return out;
}

}  // namespace qb
