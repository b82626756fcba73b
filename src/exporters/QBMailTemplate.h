// SPDX-License-Identifier: Apache-2.0
// The on-screen view of a message as one HTML document: the header table, the body chosen
// among the body exporters, an optional alert, and the attachments as icons with links.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "exporters/QBExporter.h"
#include "exporters/TNEFMessageExporter.h"
#include "model/Address.h"
#include "platform/FileIcon.h"
#include "richtext/XmlNodes.h"

namespace qb {

// The link scheme of the attachment icons: "quillbox://N", N the attachment exporter's index.
inline constexpr std::string_view kAttachmentLinkScheme = "quillbox://";

// Renders the view of the message a message exporter was made for.
class QBMailTemplate {
  public:
    explicit QBMailTemplate(std::shared_ptr<const TNEFMessageExporter> messageExporter);

    const std::shared_ptr<const TNEFMessageExporter>& messageExporter() const {
        return messageExporter_;
    }
    const std::shared_ptr<const OutlookMessage>& message() const { return message_; }

    // Missing sender, subject and recipients show placeholder texts instead of leaving their
    // rows out.
    bool displayEmptyValues = false;
    // A style sheet the page links to.
    std::optional<std::string> stylesheetPath;
    // Markup shown above the headers (read as XML; left out when it does not parse).
    std::optional<std::string> alertHTML;
    // Where attachment pictures come from (the desktop's icon for the type); none leaves them
    // out. Asked once per extension.
    FileIconSource iconSource = fileTypeIconPNG;
    // The locale and IANA time zone the date is shown in; empty: the reader's own.
    std::string dateLocale, dateTimeZone;

    // The body exporter to show: an RTF body made into HTML, else the HTML body, else the
    // plain text; nothing when there is none of these.
    static QBExporterPtr chooseBestExporter(const QBExporterList& textExporters);

    // The finished document; nothing (and a log line) when the body cannot be parsed.
    XmlDocPtr appliedDocument() const;
    // The same as HTML text in UTF-8.
    std::optional<std::string> appliedTemplate() const;

    // The pieces of the header table, for a document `doc`.
    static xmlNode* rowWithKeyAndValue(xmlNode* key, xmlNode* value);
    static xmlNode* tableHeaderWithStringValue(xmlDoc* doc, const std::string& text);
    static xmlNode* nodeOfTypeAndClass(xmlDoc* doc, const char* name,
                                       const char* cssClass = nullptr);
    // One span of class "qbx-ql-address" per address (its e-mail text), separated by ", ";
    // addresses without any text are left out.
    static void appendElementsForAddresses(xmlNode* parent, const AddressList& addresses);

  private:
    XmlDocPtr parsedBody() const;
    void addHeaderTable(xmlNode* body, xmlNode* inner, xmlNode* alert) const;
    void addAttachmentLinks(xmlNode* inner) const;

    std::shared_ptr<const TNEFMessageExporter> messageExporter_;
    std::shared_ptr<const OutlookMessage> message_;
};

// Text as a document can hold it: valid UTF-8 without control characters (tabs and line
// breaks stay).
std::string displayableText(std::string_view text);

}  // namespace qb
