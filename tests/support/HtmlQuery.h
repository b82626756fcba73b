// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "richtext/XmlNodes.h"

namespace qb::test {

// An HTML page read back with libxml2, for asserting on its elements.
class HtmlQuery {
  public:
    // Reads the page strictly enough to notice a page libxml2 cannot read at all: `ok()` is
    // false when no document with a root element results.
    explicit HtmlQuery(std::string_view html);

    bool ok() const { return doc_ != nullptr; }
    xmlNode* root() const;
    // The first element with this id, in document order.
    xmlNode* byId(const std::string& id) const;
    // Every element with this name (and class, when given), in document order, below `from`
    // (the root when none).
    std::vector<xmlNode*> elements(const std::string& name, const std::string& cssClass = {},
                                   xmlNode* from = nullptr) const;
    // The element children of a node.
    static std::vector<xmlNode*> children(xmlNode* node);
    // All text below the node, concatenated.
    static std::string text(xmlNode* node);
    static std::string attribute(xmlNode* node, const char* name) {
        return xmlAttribute(node, name);
    }

  private:
    XmlDocPtr doc_;
};

}  // namespace qb::test
