// SPDX-License-Identifier: Apache-2.0
// The MIME part tree read back from RFC 2822 data (or built for export), with a registry
// that picks the part class for each media type and the page every part displays as.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mailkit/MKMimeHeaders.h"
#include "mime/WebResource.h"
#include "platform/Bytes.h"
#include "platform/StringEncoding.h"

namespace qb {

class MimePart;
using MimePartPtr = std::shared_ptr<MimePart>;

// An entry of the registry: a part class by name, and how to make an empty one.
struct MimePartClass {
    const char* name;
    MimePartPtr (*make)();
};

// Nesting deeper than this is not split into children: the deeper multipart keeps its body.
inline constexpr int kMaxMimeNesting = 64;
// No tree read from data holds more parts than this; later pieces are left out.
inline constexpr size_t kMaxMimeParts = 100000;

class MimePart : public std::enable_shared_from_this<MimePart> {
  public:
    MimePart() = default;
    virtual ~MimePart() = default;
    MimePart(const MimePart&) = delete;
    MimePart& operator=(const MimePart&) = delete;

    static const MimePartClass& partClass();
    virtual const char* className() const { return partClass().name; }

    // The registry. Keys are stored lower-cased; the exact lookup uses the type as given,
    // so "Image/PNG" misses it and is found through "image/*". Never fails: `MimePart` is
    // the class of last resort.
    static void registerForMimeType(std::string_view type, const MimePartClass& cls);
    static const MimePartClass& classForMimeType(std::optional<std::string_view> type);

    // One whole entity (header block, blank line, body) as a part of its registered class,
    // its multipart body split into children.
    static MimePartPtr mimePartForData(const Bytes& data);

    // Reads headers and, for a multipart type, the children; call once on a new part.
    void initWithMimeData(const Bytes& data);

    virtual void loadAttachments() {}
    // The fixed page every display fragment is shown in.
    static std::string htmlEnvelopeWithContents(std::string_view fragment);
    // "type/subtype"; a missing half reads "(null)".
    std::string MIMEtype() const;
    // The body as one line of canonical Base64 (decoded first when it is Base64).
    std::string base64Data() const;

    virtual std::optional<std::string> webArchivePlainContent() const { return std::nullopt; }
    virtual std::optional<std::string> webArchiveHtmlContent() const { return std::nullopt; }
    // The UTF-8 page that shows this part, or nothing.
    virtual std::optional<std::string> webArchiveData() const;
    virtual std::vector<WebResource> webArchiveResources() const;
    virtual std::optional<std::string> htmlContent() const { return std::nullopt; }
    virtual std::optional<std::string> plainContent() const { return std::nullopt; }
    virtual std::optional<Bytes> dataContent() const { return std::nullopt; }
    // The body with its transfer encoding undone (Base64, quoted-printable); as it stands
    // for any other encoding. Nothing when the part has no body.
    std::optional<Bytes> decodedContent() const;

    // The disposition's filename parameter without its surrounding double quotes.
    std::optional<std::string> filename() const;
    // The part (or, for a multipart, the descendant) whose content ID, without angle
    // brackets, is `contentID`.
    virtual MimePartPtr partWithContentID(std::string_view contentID);
    virtual std::vector<MimePartPtr> attachments();

    // ISO-8859-1 and UTF-8 by charset; every other charset reads as ASCII.
    StringEncoding stringEncoding() const;
    // The part's own value, else its parent's (up to the root).
    std::optional<std::string> contentTransferEncoding() const;
    void setContentTransferEncoding(std::optional<std::string> e) {
        internalContentTransferEncoding_ = std::move(e);
    }
    std::optional<std::string> charset() const;
    void setCharset(std::optional<std::string> c) { internalCharset_ = std::move(c); }

    std::string description() const;

    MimePartPtr parent() const { return parent_.lock(); }
    void setParent(const MimePartPtr& p) { parent_ = p; }
    // Empty for a leaf.
    const std::vector<MimePartPtr>& subParts() const { return subParts_; }
    const MKMimeHeaders& headers() const { return headers_; }
    MKMimeHeaders& headers() { return headers_; }
    const std::optional<Bytes>& contentData() const { return contentData_; }
    void setContentData(std::optional<Bytes> d) { contentData_ = std::move(d); }
    const std::optional<std::string>& type() const { return type_; }
    void setType(std::optional<std::string> t) { type_ = std::move(t); }
    const std::optional<std::string>& subtype() const { return subtype_; }
    void setSubtype(std::optional<std::string> s) { subtype_ = std::move(s); }
    const std::optional<std::string>& boundary() const { return boundary_; }
    void setBoundary(std::optional<std::string> b) { boundary_ = std::move(b); }
    const std::map<std::string, std::string>& contentDisposition() const {
        return contentDisposition_;
    }
    const std::optional<std::string>& contentId() const { return contentId_; }
    void setContentId(std::optional<std::string> c) { contentId_ = std::move(c); }
    const std::optional<std::string>& internalContentTransferEncoding() const {
        return internalContentTransferEncoding_;
    }
    const std::optional<std::string>& internalCharset() const { return internalCharset_; }

  protected:
    // What one parse of a tree has spent, shared by every level.
    struct ParseBudget {
        size_t parts = 0;
        bool reported = false;
    };
    static MimePartPtr mimePartForData(const Bytes& data, int depth, ParseBudget& budget);
    void readMimeData(const Bytes& data, MKMimeHeaders headers, int depth, ParseBudget& budget);
    void splitBody(const Bytes& body, std::string_view boundary, int depth, ParseBudget& budget);

    // The body read as text in stringEncoding(); nothing when it does not decode.
    std::optional<std::string> bodyText(const Bytes& bytes) const;
    // The content ID without the angle brackets at either end ("" when there is none).
    std::string trimmedContentId() const;
    std::vector<MimePartPtr> subParts_;

  private:
    std::weak_ptr<MimePart> parent_;
    MKMimeHeaders headers_;
    std::optional<Bytes> contentData_;
    std::optional<std::string> type_, subtype_, boundary_;
    std::map<std::string, std::string> contentDisposition_;
    std::optional<std::string> contentId_;
    std::optional<std::string> internalContentTransferEncoding_, internalCharset_;
};

// Fills the registry with the library's part classes; runs once, whatever calls it first.
void registerBuiltinMimeParts();

}  // namespace qb
