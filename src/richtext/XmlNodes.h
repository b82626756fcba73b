// SPDX-License-Identifier: Apache-2.0
// Small helpers over libxml2's tree shared by the HTML readers and writers of the library.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace qb {

struct XmlDocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using XmlDocPtr = std::unique_ptr<xmlDoc, XmlDocDeleter>;

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

// Whether the node is an element called `name` (lower case, as the HTML parser names them).
bool isElement(const xmlNode* node, const char* name);

// The last child element of `parent` called `name`; nothing when there is none.
xmlNode* lastChildElement(xmlNode* parent, const char* name);

// The head of an HTML document's root element, made (before everything else) when missing.
xmlNode* headOfHTMLRoot(xmlNode* root);

// Makes the document declare UTF-8 (a meta element in its head, made when missing): the HTML
// writer takes its output encoding from that declaration.
void declareUTF8(xmlNode* root);

// Sets attribute `name` of an element to a value that many elements of the document carry
// (a picture as a data: URI): the text is kept once, in the document's dictionary.
void setSharedAttribute(xmlNode* element, const char* name, std::string_view value);

// Hands the HTML document, as text in the encoding it declares, to `sink` in stretches of a
// few kilobytes as it is written; false when it cannot be written or the sink stopped.
bool writeHTMLDocument(xmlDoc* doc, const std::function<bool(std::string_view)>& sink);

// The HTML document as text in the encoding it declares; nothing when it cannot be written.
std::optional<std::string> htmlDocumentText(xmlDoc* doc);

}  // namespace qb
