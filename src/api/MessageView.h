// SPDX-License-Identifier: Apache-2.0
// The view of a message as one HTML file a browser opens on its own: the mail template's
// page with its style, its pictures and its attachment links made to work outside the app.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "exporters/QBMailTemplate.h"
#include "exporters/TNEFMessageExporter.h"
#include "model/OutlookMessage.h"

namespace qb {

struct MessageViewOptions {
    // Placeholders for a missing sender, subject and recipients.
    bool showEmpty = false;
    // Markup shown above the headers (XML; left out when it does not parse).
    std::optional<std::string> alertHTML;
    // A style sheet to link to; without one the built-in style is embedded.
    std::optional<std::string> stylesheetPath;
    // By attachment exporter index, the URL its link leads to; an index without one keeps
    // its "quillbox://N" link.
    std::vector<std::optional<std::string>> attachmentLinks;
    // The URL that replaces a picture's "cid:" reference (given the normalised content id);
    // nothing keeps the reference. Unset: the attachment's bytes as a data: URI.
    std::function<std::optional<std::string>(const std::string& contentID)> pictureURL;
    // Attachment pictures: the desktop's icons; unset leaves them out.
    FileIconSource iconSource = fileTypeIconPNG;
};

// The page as a tree, to be written out with writeHTMLDocument as it is serialised; nothing
// (and a log line) when the body cannot be parsed.
XmlDocPtr messageViewDocument(const std::shared_ptr<const TNEFMessageExporter>& exporter,
                              const MessageViewOptions& options);

// The page; nothing (and a log line) when the body cannot be parsed.
std::optional<std::string> messageViewHTML(
    const std::shared_ptr<const TNEFMessageExporter>& exporter, const MessageViewOptions& options);

// The alert above the headers of a message read only in part: that it was, and what was left
// out; nothing for a message read whole. What `quillbox view`, extract's View.html and the
// Python module's view() give as alertHTML.
std::optional<std::string> partialReadAlertHTML(const OutlookMessage& message);

// About what the attachment links of the view take (their pictures included), known before
// the view is made: a message with very many attachments can be refused a view it could
// not afford.
uint64_t attachmentLinksSize(const TNEFMessageExporter& exporter, const FileIconSource& icons);

// The style the view embeds when no style sheet is named: header table, body and
// attachment grid, on screen (light and dark) and in print.
extern const char* const kBuiltInViewStyle;

}  // namespace qb
