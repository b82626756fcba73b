// SPDX-License-Identifier: Apache-2.0
// The attachment of the message model, made by both readers; the exporters take names, types
// and content from it.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "model/MAPIProp.h"
#include "model/OutlookMessage.h"
#include "platform/Export.h"
#include "tnef/TNEFAttachmentRendData.h"
#include "tnef/TNEFAttr.h"

namespace qb {

/// One attachment of a message. The TNEF reader makes one from each group of
/// attachment-level attributes (led by attAttachRenddata); the .msg reader from an
/// attachment's property list. Names, types, content and nested message are derived on
/// first use and kept; the setters replace what was kept.
class QB_API TNEFAttachment {
  public:
    TNEFAttachment(TNEFAttrList attributes, const std::shared_ptr<const OutlookMessage>& message);
    TNEFAttachment(MAPIPropList props, std::shared_ptr<OutlookMessage> nestedMessage,
                   const std::shared_ptr<const OutlookMessage>& message);

    const TNEFAttrList& attributes() const { return attributes_; }
    std::shared_ptr<const OutlookMessage> message() const { return message_.lock(); }
    const std::optional<TNEFAttachmentRendData>& rendData() const { return rendData_; }

    /// The attAttachment property list; nothing without that attribute (asked again next time).
    const MAPIPropList* mapiprops() const;
    std::optional<std::string> filename() const;
    std::optional<std::string> mimeType() const;
    std::optional<std::string> contentId() const;
    std::optional<std::string> contentLocation() const;
    /// The content bytes, unwrapped from MacBinary when the attachment says it is wrapped.
    std::optional<Bytes> rawData() const;
    std::shared_ptr<OutlookMessage> nestedMessage() const;

    void setFilename(std::optional<std::string> v);
    void setMimeType(std::optional<std::string> v);
    void setContentId(std::optional<std::string> v);
    void setContentLocation(std::optional<std::string> v);
    void setRawData(std::optional<Bytes> v);
    void setNestedMessage(std::shared_ptr<OutlookMessage> v);

    /// The data fork of `content` when PR_ATTACH_ENCODING names MacBinary; else nothing.
    std::optional<Bytes> decodeMacBinary(const Bytes& content) const;

  private:
    template <typename T>
    using Kept = std::optional<T>;  ///< empty: not computed yet

    std::optional<std::string> computeFilename() const;
    std::optional<Bytes> computeRawData() const;

    TNEFAttrList attributes_;
    std::weak_ptr<const OutlookMessage> message_;
    std::optional<TNEFAttachmentRendData> rendData_;

    mutable std::recursive_mutex mutex_;
    mutable Kept<MAPIPropList> mapiprops_;
    mutable Kept<std::optional<std::string>> filename_, mimeType_, contentId_, contentLocation_;
    mutable Kept<std::optional<Bytes>> rawData_;
    mutable Kept<std::shared_ptr<OutlookMessage>> nestedMessage_;
};

}  // namespace qb
