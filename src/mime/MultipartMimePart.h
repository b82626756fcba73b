// SPDX-License-Identifier: Apache-2.0
// Multipart parts: read from data they combine their children's display; built from
// content they assemble their own body from their children on every addition.
#pragma once

#include "mime/MimePart.h"

namespace qb {

class MultipartMimePart : public MimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // "MKMimeKit=_" and a fresh upper-case UUID.
    static std::string newBoundary();
    // A built, mutable multipart of this subtype with a fresh boundary.
    static std::shared_ptr<MultipartMimePart> initWithSubtype(std::string_view subtype);

    // Appends a child (once) and rebuilds the body; a parsed part only logs that it cannot.
    void addPart(const MimePartPtr& part);

    std::optional<std::string> webArchivePlainContent() const override;
    std::optional<std::string> webArchiveHtmlContent() const override;
    std::optional<std::string> htmlContent() const override;
    std::optional<std::string> plainContent() const override;
    std::optional<std::string> webArchiveData() const override;
    std::vector<WebResource> webArchiveResources() const override;
    MimePartPtr partWithContentID(std::string_view contentID) override;
    std::vector<MimePartPtr> attachments() override;

    bool isMutable() const { return isMutable_; }
    void setIsMutable(bool m) { isMutable_ = m; }

  protected:
    void setUpBuilt(std::string_view subtype);

  private:
    bool isMutable_ = false;
};

class MultipartAlternativeMimePart : public MultipartMimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // The plain part first, then the HTML one: the preferred form last.
    static std::shared_ptr<MultipartAlternativeMimePart> initWithPlainPart(const MimePartPtr& plain,
                                                                           const MimePartPtr& html);

    // The HTML alternatives when any child has HTML, else the plain ones.
    std::optional<std::string> webArchiveData() const override;
};

// Built only: parsed multipart/related data is a MultipartMimePart.
class MultipartRelatedMimePart : public MultipartMimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    static std::shared_ptr<MultipartRelatedMimePart> initWithHtmlPart(
        const MimePartPtr& html, const std::vector<MimePartPtr>& related);
};

}  // namespace qb
