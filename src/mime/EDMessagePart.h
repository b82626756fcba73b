// SPDX-License-Identifier: Apache-2.0
// The unit the MIME builder produces and the exporters hand around: a header set and an
// encoded body.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "mailkit/MKMimeHeaders.h"
#include "mime/MimeBody.h"
#include "platform/Export.h"

namespace qb {

/// A built MIME entity: its header fields and its body, already transfer-encoded. A whole
/// message is a part whose headers also carry the message's own fields.
class QB_API EDMessagePart {
  public:
    MKMimeHeaders& headers() { return headers_; }
    const MKMimeHeaders& headers() const { return headers_; }

    // The body, already transfer-encoded; contentData() is the same as one string.
    const MimeBody& content() const { return content_; }
    std::string contentData() const { return content_.str(); }
    void setContent(MimeBody content) { content_ = std::move(content); }
    void setContentData(std::string content) { content_ = MimeBody(std::move(content)); }

    /// The media type without parameters, lower case ("text/plain"); empty when unset.
    std::string contentType() const;

    /// Appends a field after those already present (a later field of the same name replaces
    /// the earlier value).
    void addToHeaderFields(std::string_view name, std::string_view fieldBody);

    /// The entity as RFC 2822 bytes: header block, blank line, body; transferData() is the
    /// same as one string.
    MimeBody transferBody() const;
    std::string transferData() const { return transferBody().str(); }

  private:
    MKMimeHeaders headers_;
    MimeBody content_;
};

using EDMessagePartPtr = std::shared_ptr<EDMessagePart>;

}  // namespace qb
