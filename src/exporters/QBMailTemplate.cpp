// SPDX-License-Identifier: Apache-2.0
// The view's document built on libxml2's tree: the body parsed tolerantly, then the header
// table, the alert and the attachment links put around it.
#include "exporters/QBMailTemplate.h"

#include <libxml/HTMLparser.h>
#include <libxml/parser.h>

#include <climits>
#include <map>

#include "exporters/HTMLExporter.h"
#include "exporters/PlainTextExporter.h"
#include "exporters/RTFExporter.h"
#include "mailkit/Base64.h"
#include "mailkit/HTMLEntities.h"
#include "mime/MimeTypes.h"
#include "model/MessageDate.h"
#include "platform/AsciiCase.h"
#include "platform/Localized.h"
#include "platform/Log.h"
#include "platform/ReadableDate.h"
#include "platform/StringEncoding.h"

namespace qb {

namespace {

const xmlChar* x(const char* s) {
    return reinterpret_cast<const xmlChar*>(s);
}
const xmlChar* x(const std::string& s) {
    return x(s.c_str());
}

xmlNode* textNode(xmlDoc* doc, const std::string& text) {
    return xmlNewDocText(doc, x(displayableText(text)));
}

// The plain text as a page: lines joined by line breaks, markup characters escaped so that
// text never becomes markup.
std::string plainTextPage(const std::string& text) {
    std::string page = "<html><body>";
    size_t start = 0;
    while (true) {
        const size_t nl = text.find('\n', start);
        page += stringByEncodingHTMLEntities(
            std::string_view(text).substr(start, nl == std::string::npos ? nl : nl - start));
        if (nl == std::string::npos) break;
        page += "<br />";
        start = nl + 1;
    }
    return page + "</body></html>";
}

}  // namespace

std::string displayableText(std::string_view text) {
    std::string valid =
        isValidUTF8(text) ? std::string(text) : decodeString(text, kUTF8Encoding).value_or("");
    std::string out;
    out.reserve(valid.size());
    for (char c : valid) {
        const auto u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t' && c != '\n' && c != '\r') || u == 0x7F) continue;
        out += c;
    }
    return out;
}

QBMailTemplate::QBMailTemplate(std::shared_ptr<const TNEFMessageExporter> messageExporter)
    : messageExporter_(std::move(messageExporter)),
      message_(messageExporter_ ? messageExporter_->tnefMessage() : nullptr) {}

QBExporterPtr QBMailTemplate::chooseBestExporter(const QBExporterList& textExporters) {
    QBExporterPtr rtf, html, plain;
    for (const auto& e : textExporters) {
        if (dynamic_cast<const RTFExporter*>(e.get()))
            rtf = e;
        else if (dynamic_cast<const HTMLExporter*>(e.get()))
            html = e;
        else if (dynamic_cast<const PlainTextExporter*>(e.get()))
            plain = e;
    }
    if (rtf && rtf->mimeType() == "text/html") return rtf;
    if (html) return html;
    return plain;
}

xmlNode* QBMailTemplate::rowWithKeyAndValue(xmlNode* key, xmlNode* value) {
    xmlNode* row = xmlNewDocNode(key->doc, nullptr, x("tr"), nullptr);
    xmlAddChild(row, key);
    xmlAddChild(row, value);
    return row;
}

xmlNode* QBMailTemplate::tableHeaderWithStringValue(xmlDoc* doc, const std::string& text) {
    xmlNode* cell = nodeOfTypeAndClass(doc, "td", "header_key");
    xmlAddChild(cell, textNode(doc, text));
    return cell;
}

xmlNode* QBMailTemplate::nodeOfTypeAndClass(xmlDoc* doc, const char* name, const char* cssClass) {
    xmlNode* node = xmlNewDocNode(doc, nullptr, x(name), nullptr);
    if (cssClass) setSharedAttribute(node, "class", cssClass);
    return node;
}

void QBMailTemplate::appendElementsForAddresses(xmlNode* parent, const AddressList& addresses) {
    const std::string separator = localized(", ");
    bool first = true;
    for (const auto& address : addresses) {
        // A person without any text (an empty sender record) shows nothing, not an empty span.
        const auto email = address ? address->email() : std::nullopt;
        if (!email || email->empty()) continue;
        if (!first) xmlAddChild(parent, textNode(parent->doc, separator));
        first = false;
        xmlNode* span = nodeOfTypeAndClass(parent->doc, "span", "qbx-ql-address");
        xmlAddChild(span, textNode(parent->doc, *email));
        xmlAddChild(parent, span);
    }
}

XmlDocPtr QBMailTemplate::parsedBody() const {
    std::string page;
    std::string encoding = "UTF-8";
    const QBExporterPtr chosen =
        messageExporter_ ? chooseBestExporter(messageExporter_->textExporters()) : nullptr;
    if (const auto* plain = dynamic_cast<const PlainTextExporter*>(chosen.get())) {
        page = plainTextPage(plain->plainText());
    } else if (chosen) {
        if (auto data = chosen->data()) page = data->str();
        if (const auto* html = dynamic_cast<const HTMLExporter*>(chosen.get()))
            encoding = ianaNameForEncoding(html->dataEncoding());
    }
    if (page.empty()) {
        const bool attachments =
            messageExporter_ && !messageExporter_->attachmentExporters().empty();
        page = attachments
                   ? "<html><body></body></html>"
                   : "<html><body><i><font color=\"#888888\">" +
                         stringByEncodingHTMLEntities(localized("This message has no content.")) +
                         "</font></i></body></html>";
        encoding = "UTF-8";
    }
    if (page.size() > static_cast<size_t>(INT_MAX)) {
        log("Error creating preview from message: the body is too large");
        return nullptr;
    }
    XmlDocPtr doc(htmlReadMemory(
        page.data(), static_cast<int>(page.size()), nullptr, encoding.c_str(),
        HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING));
    if (!doc || !xmlDocGetRootElement(doc.get())) {
        const xmlError* error = xmlGetLastError();
        logf("Error creating preview from message: {}",
             error && error->message ? error->message : "the body gives no document");
        return nullptr;
    }
    return doc;
}

void QBMailTemplate::addHeaderTable(xmlNode* body, xmlNode* inner, xmlNode* alert) const {
    xmlDoc* doc = body->doc;
    xmlNode* table = xmlNewDocNode(doc, nullptr, x("table"), nullptr);
    xmlNewProp(table, x("id"), x("qbx-ql-headers"));
    auto addRow = [&](const char* label, xmlNode* value) {
        if (!value->children) {
            xmlFreeNode(value);
            return;
        }
        xmlAddChild(table,
                    rowWithKeyAndValue(tableHeaderWithStringValue(doc, localized(label)), value));
    };
    auto valueCell = [&] { return nodeOfTypeAndClass(doc, "td", "header_value"); };
    auto placeholder = [&](xmlNode* cell, const char* text) {
        if (displayEmptyValues) xmlAddChild(cell, textNode(doc, localized(text)));
    };

    // A sender or recipients without any text count as none.
    xmlNode* from = valueCell();
    if (auto sender = message_->sender()) appendElementsForAddresses(from, {sender});
    if (!from->children) placeholder(from, "(No Sender)");
    addRow("From:", from);

    xmlNode* subject = valueCell();
    if (auto text = message_->subject(); text && !text->empty())
        xmlAddChild(subject, textNode(doc, *text));
    else
        placeholder(subject, "(No Subject)");
    addRow("Subject:", subject);

    xmlNode* date = valueCell();
    if (auto when = messageDate(*message_))
        xmlAddChild(date, textNode(doc, formatMediumDateTime(*when, dateLocale, dateTimeZone)));
    addRow("Date:", date);

    xmlNode* to = valueCell();
    appendElementsForAddresses(to, message_->toRecipients());
    if (!to->children) placeholder(to, "(No Recipient)");
    addRow("To:", to);

    xmlNode* cc = valueCell();
    appendElementsForAddresses(cc, message_->ccRecipients());
    addRow("CC:", cc);
    xmlNode* bcc = valueCell();
    appendElementsForAddresses(bcc, message_->bccRecipients());
    addRow("BCC:", bcc);

    // The div deliberately carries the table's id too: style sheets address either.
    xmlNode* headers = xmlNewDocNode(doc, nullptr, x("div"), nullptr);
    xmlNewProp(headers, x("id"), x("qbx-ql-headers"));
    xmlAddChild(headers, table);
    if (alert) xmlAddChild(body, alert);
    xmlAddChild(body, headers);
    xmlAddChild(body, inner);
}

void QBMailTemplate::addAttachmentLinks(xmlNode* inner) const {
    xmlDoc* doc = inner->doc;
    if (!message_->attachments().empty())
        xmlAddChild(inner, xmlNewDocNode(doc, nullptr, x("br"), nullptr));
    // One picture per type: the data URI is made once for each extension.
    std::map<std::string, std::optional<std::string>> iconURIs;
    const auto& exporters = messageExporter_->attachmentExporters();
    for (size_t i = 0; i < exporters.size(); ++i) {
        const std::string name = exporters[i]->filename().value_or("");
        xmlNode* link = nodeOfTypeAndClass(doc, "a", "qbx-attachment");
        xmlNewProp(link, x("href"), x(std::string(kAttachmentLinkScheme) + std::to_string(i)));
        xmlNode* box = nodeOfTypeAndClass(doc, "div", "qbx-attachment");
        xmlAddChild(link, box);

        auto [icon, made] = iconURIs.try_emplace(lowercasedASCII(pathExtension(name)));
        if (made && iconSource)
            if (auto png = iconSource(name)) {
                std::string uri = "data:image/png;base64,";
                appendBase64(uri, png->view());
                icon->second = std::move(uri);
            }
        if (icon->second) {
            xmlNode* img = nodeOfTypeAndClass(doc, "img", "qbx-attachment-icon");
            setSharedAttribute(img, "src", *icon->second);
            xmlAddChild(box, img);
        }
        xmlNode* filename = nodeOfTypeAndClass(doc, "div", "qbx-attachment-filename");
        xmlAddChild(filename, textNode(doc, name));
        xmlAddChild(box, filename);
        xmlAddChild(inner, link);
    }
}

XmlDocPtr QBMailTemplate::appliedDocument() const {
    if (!message_) return nullptr;
    XmlDocPtr doc = parsedBody();
    if (!doc) return nullptr;
    xmlNode* root = xmlDocGetRootElement(doc.get());
    xmlNode* body = lastChildElement(root, "body");
    if (!body) body = xmlNewChild(root, nullptr, x("body"), nullptr);
    if (stylesheetPath) {
        xmlNode* link = xmlNewChild(headOfHTMLRoot(root), nullptr, x("link"), nullptr);
        xmlNewProp(link, x("rel"), x("StyleSheet"));
        xmlNewProp(link, x("type"), x("text/css"));
        xmlNewProp(link, x("href"), x(*stylesheetPath));
    }

    xmlNode* inner = xmlNewDocNode(doc.get(), nullptr, x("div"), nullptr);
    xmlNewProp(inner, x("id"), x("qbx-ql-inner-mail"));
    for (xmlNode* child = body->children; child;) {
        xmlNode* next = child->next;
        xmlUnlinkNode(child);
        xmlAddChild(inner, child);
        child = next;
    }

    xmlNode* alert = nullptr;
    if (alertHTML && !alertHTML->empty() && alertHTML->size() <= static_cast<size_t>(INT_MAX)) {
        XmlDocPtr parsed(xmlReadMemory(
            alertHTML->data(), static_cast<int>(alertHTML->size()), nullptr, "UTF-8",
            XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
        if (xmlNode* alertRoot = parsed ? xmlDocGetRootElement(parsed.get()) : nullptr) {
            alert = xmlNewDocNode(doc.get(), nullptr, x("div"), nullptr);
            xmlNewProp(alert, x("id"), x("qbx-alert"));
            xmlAddChild(alert, xmlDocCopyNode(alertRoot, doc.get(), 1));
        }
    }
    addHeaderTable(body, inner, alert);
    addAttachmentLinks(inner);
    declareUTF8(root);
    return doc;
}

std::optional<std::string> QBMailTemplate::appliedTemplate() const {
    XmlDocPtr doc = appliedDocument();
    if (!doc) return std::nullopt;
    return htmlDocumentText(doc.get());
}

}  // namespace qb
