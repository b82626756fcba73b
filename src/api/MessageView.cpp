// SPDX-License-Identifier: Apache-2.0
// The template's document finished for a browser: the style, the charset and title, "cid:"
// pictures resolved and attachment links rewritten, in one walk over the tree.
#include "api/MessageView.h"

#include <charconv>
#include <map>

#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "mailkit/Base64.h"
#include "mailkit/HTMLEntities.h"
#include "mime/MimeTypes.h"
#include "platform/AsciiCase.h"
#include "platform/Localized.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

namespace {

const xmlChar* x(const char* s) {
    return reinterpret_cast<const xmlChar*>(s);
}

// The attachments that have content ids, by normalised id.
std::map<std::string, const AttachmentExporter*> exportersByContentID(
    const TNEFMessageExporter& exporter) {
    std::map<std::string, const AttachmentExporter*> out;
    for (const auto& e : exporter.attachmentExporters()) {
        const auto* file = dynamic_cast<const AttachmentExporter*>(e.get());
        if (!file || !file->attachment() || !file->data()) continue;
        if (auto id = file->attachment()->contentId(); id && !id->empty())
            out.emplace(normalizedContentID(*id), file);
    }
    return out;
}

std::string dataURI(const AttachmentExporter& file) {
    std::string type = file.mimeType().value_or("");
    if (type.empty() || type == "application/octet-stream")
        type = mimeTypeForFilename(file.filename().value_or(""));
    std::string uri = "data:" + type + ";base64,";
    appendBase64(uri, file.data()->view());
    return uri;
}

// The attachment index of a link the template made, "quillbox://N".
std::optional<size_t> attachmentIndexOfLink(std::string_view href) {
    if (!href.starts_with(kAttachmentLinkScheme)) return std::nullopt;
    href.remove_prefix(kAttachmentLinkScheme.size());
    size_t index = 0;
    const auto [end, ec] = std::from_chars(href.data(), href.data() + href.size(), index);
    if (ec != std::errc() || end != href.data() + href.size()) return std::nullopt;
    return index;
}

// Every element of the tree in document order, without recursion (bodies nest deep).
template <typename F>
void forEachElement(xmlNode* root, F&& f) {
    xmlNode* n = root;
    while (n) {
        if (n->type == XML_ELEMENT_NODE) f(n);
        if (n->children && n->type == XML_ELEMENT_NODE) {
            n = n->children;
            continue;
        }
        while (n && n != root && !n->next)
            n = n->parent;
        if (!n || n == root) break;
        n = n->next;
    }
}

void finishHead(xmlNode* root, const QBMailTemplate& view, bool embedStyle) {
    xmlNode* head = headOfHTMLRoot(root);
    if (!lastChildElement(head, "title")) {
        const auto subject = view.message()->subject();
        xmlNode* title = xmlNewChild(head, nullptr, x("title"), nullptr);
        xmlAddChild(title,
                    xmlNewDocText(root->doc, x(displayableText(subject.value_or("")).c_str())));
    }
    xmlNode* scheme = xmlNewChild(head, nullptr, x("meta"), nullptr);
    xmlNewProp(scheme, x("name"), x("color-scheme"));
    xmlNewProp(scheme, x("content"), x("light dark"));
    if (embedStyle) {
        xmlNode* style = xmlNewChild(head, nullptr, x("style"), nullptr);
        xmlAddChild(style, xmlNewDocText(root->doc, x(kBuiltInViewStyle)));
    }
}

}  // namespace

std::optional<std::string> partialReadAlertHTML(const OutlookMessage& message) {
    const auto warnings = message.report()->warnings();
    if (warnings.empty()) return std::nullopt;
    std::string alert =
        "<div><b>" +
        stringByEncodingHTMLEntities(localized("This message was read only in part.")) + "</b><ul>";
    for (const auto& w : warnings)
        alert += "<li>" + stringByEncodingHTMLEntities(displayableText(w.text)) + "</li>";
    return alert + "</ul></div>";
}

uint64_t attachmentLinksSize(const TNEFMessageExporter& exporter, const FileIconSource& icons) {
    // The markup of one link without its picture and name, with room to spare.
    constexpr uint64_t kLinkMarkup = 256;
    std::map<std::string, uint64_t> iconSizes;
    uint64_t total = 0;
    for (const auto& e : exporter.attachmentExporters()) {
        const std::string name = e->filename().value_or("");
        auto [size, made] = iconSizes.try_emplace(lowercasedASCII(pathExtension(name)), 0);
        if (made && icons)
            if (auto png = icons(name)) size->second = (png->size() + 2) / 3 * 4 + 32;
        total += kLinkMarkup + name.size() + size->second;
    }
    return total;
}

XmlDocPtr messageViewDocument(const std::shared_ptr<const TNEFMessageExporter>& exporter,
                              const MessageViewOptions& options) {
    QBMailTemplate view(exporter);
    view.displayEmptyValues = options.showEmpty;
    view.stylesheetPath = options.stylesheetPath;
    view.alertHTML = options.alertHTML;
    view.iconSource = options.iconSource;
    XmlDocPtr doc = view.appliedDocument();
    if (!doc) return nullptr;
    xmlNode* root = xmlDocGetRootElement(doc.get());
    finishHead(root, view, !options.stylesheetPath);

    const auto byContentID = exportersByContentID(*exporter);
    auto pictureURL = [&](const std::string& id) -> std::optional<std::string> {
        if (options.pictureURL) return options.pictureURL(id);
        const auto file = byContentID.find(id);
        if (file == byContentID.end()) return std::nullopt;
        return dataURI(*file->second);
    };
    // The same picture shown twice is encoded once.
    std::map<std::string, std::optional<std::string>> resolved;
    forEachElement(root, [&](xmlNode* element) {
        for (const char* name : {"src", "background"}) {
            if (!xmlHasProp(element, x(name))) continue;
            const auto id = contentIDOfURL(xmlAttribute(element, name));
            if (!id) continue;
            auto [url, made] = resolved.try_emplace(*id);
            if (made) url->second = pictureURL(*id);
            if (url->second) setSharedAttribute(element, name, *url->second);
        }
        if (isElement(element, "a") && xmlAttribute(element, "class") == "qbx-attachment")
            if (auto index = attachmentIndexOfLink(xmlAttribute(element, "href"));
                index && *index < options.attachmentLinks.size() && options.attachmentLinks[*index])
                xmlSetProp(element, x("href"), x(options.attachmentLinks[*index]->c_str()));
    });
    return doc;
}

std::optional<std::string> messageViewHTML(
    const std::shared_ptr<const TNEFMessageExporter>& exporter, const MessageViewOptions& options) {
    XmlDocPtr doc = messageViewDocument(exporter, options);
    if (!doc) return std::nullopt;
    return htmlDocumentText(doc.get());
}

}  // namespace qb
