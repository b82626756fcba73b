// SPDX-License-Identifier: Apache-2.0
// Finding and making the head of an HTML tree, the UTF-8 declaration, and writing the tree
// back as HTML text.
#include "richtext/XmlNodes.h"

#include <libxml/HTMLtree.h>

#include <climits>

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

void setSharedAttribute(xmlNode* element, const char* name, std::string_view value) {
    xmlDoc* doc = element->doc;
    if (!doc || value.size() > static_cast<size_t>(INT_MAX)) return;
    if (!doc->dict) doc->dict = xmlDictCreate();
    const xmlChar* shared =
        doc->dict ? xmlDictLookup(doc->dict, BAD_CAST value.data(), static_cast<int>(value.size()))
                  : nullptr;
    xmlUnsetProp(element, BAD_CAST name);
    if (!shared) {
        xmlNewProp(element, BAD_CAST name, BAD_CAST std::string(value).c_str());
        return;
    }
    // libxml2 frees a text node's content only when its document's dictionary does not own
    // it, so the one copy lives as long as the document.
    xmlAttr* attribute = xmlNewProp(element, BAD_CAST name, nullptr);
    xmlNode* text = attribute ? xmlNewDocText(doc, nullptr) : nullptr;
    if (!text) return;
    text->content = const_cast<xmlChar*>(shared);
    text->parent = reinterpret_cast<xmlNode*>(attribute);
    attribute->children = attribute->last = text;
}

namespace {

struct SinkContext {
    const std::function<bool(std::string_view)>* sink;
};

int writeToSink(void* context, const char* buffer, int length) {
    if (length <= 0) return 0;
    const auto* c = static_cast<SinkContext*>(context);
    return (*c->sink)(std::string_view(buffer, static_cast<size_t>(length))) ? length : -1;
}

}  // namespace

bool writeHTMLDocument(xmlDoc* doc, const std::function<bool(std::string_view)>& sink) {
    // The output encoding is chosen as htmlDocDumpMemoryFormat chooses it: the one the page
    // declares, else HTML's own (ASCII with character references).
    xmlCharEncodingHandler* handler = nullptr;
    if (const xmlChar* declared = htmlGetMetaEncoding(doc)) {
        const char* name = reinterpret_cast<const char*>(declared);
        if (xmlParseCharEncoding(name) != XML_CHAR_ENCODING_UTF8)
            handler = xmlFindCharEncodingHandler(name);
    } else {
        handler = xmlFindCharEncodingHandler("HTML");
        if (!handler) handler = xmlFindCharEncodingHandler("ascii");
    }
    SinkContext context{&sink};
    xmlOutputBuffer* out = xmlOutputBufferCreateIO(writeToSink, nullptr, &context, handler);
    if (!out) return false;
    htmlDocContentDumpFormatOutput(out, doc, nullptr, 0);
    const bool failed = out->error != 0;
    return xmlOutputBufferClose(out) >= 0 && !failed;
}

std::optional<std::string> htmlDocumentText(xmlDoc* doc) {
    std::string out;
    if (!writeHTMLDocument(doc,
                           [&out](std::string_view piece) {
                               out += piece;
                               return true;
                           }) ||
        out.empty())
        return std::nullopt;
    return out;
}

}  // namespace qb
