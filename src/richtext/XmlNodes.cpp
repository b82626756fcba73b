// SPDX-License-Identifier: Apache-2.0
// Finding and making the head of an HTML tree, the UTF-8 declaration, and writing the tree
// back as HTML text.
#include "richtext/XmlNodes.h"

#include <libxml/HTMLtree.h>

namespace qb {

bool isElement(const xmlNode* node, const char* name) {
    return node && node->type == XML_ELEMENT_NODE &&
           xmlStrEqual(node->name, reinterpret_cast<const xmlChar*>(name));
}

xmlNode* lastChildElement(xmlNode* parent, const char* name) {
    xmlNode* found = nullptr;
    for (xmlNode* n = parent ? parent->children : nullptr; n; n = n->next)
        if (isElement(n, name)) found = n;
    return found;
}

xmlNode* headOfHTMLRoot(xmlNode* root) {
    if (xmlNode* head = lastChildElement(root, "head")) return head;
    xmlNode* head = xmlNewDocNode(root->doc, nullptr, BAD_CAST "head", nullptr);
    if (root->children)
        xmlAddPrevSibling(root->children, head);
    else
        xmlAddChild(root, head);
    return head;
}

void declareUTF8(xmlNode* root) {
    xmlNode* head = headOfHTMLRoot(root);
    if (!htmlGetMetaEncoding(root->doc)) {
        xmlNode* meta = xmlNewDocNode(root->doc, nullptr, BAD_CAST "meta", nullptr);
        xmlNewProp(meta, BAD_CAST "http-equiv", BAD_CAST "Content-Type");
        xmlNewProp(meta, BAD_CAST "content", BAD_CAST "text/html; charset=UTF-8");
        if (head->children)
            xmlAddPrevSibling(head->children, meta);
        else
            xmlAddChild(head, meta);
    }
    htmlSetMetaEncoding(root->doc, BAD_CAST "UTF-8");
}

std::optional<std::string> htmlDocumentText(xmlDoc* doc) {
    xmlChar* mem = nullptr;
    int size = 0;
    htmlDocDumpMemoryFormat(doc, &mem, &size, 0);
    if (!mem || size <= 0) {
        if (mem) xmlFree(mem);
        return std::nullopt;
    }
    std::string out(reinterpret_cast<const char*>(mem), static_cast<size_t>(size));
    xmlFree(mem);
    return out;
}

}  // namespace qb
