// SPDX-License-Identifier: Apache-2.0
// Application leaves: a file shown as its type's icon with its name, linked to the file;
// a PDF shown as a picture of its first page.
#pragma once

#include "mime/MimePart.h"
#include "platform/Lazy.h"

namespace qb {

class ApplicationMimePart : public MimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // A file as a Base64 attachment; nothing when it cannot be read.
    static std::shared_ptr<ApplicationMimePart> initWithPathToFile(const std::string& path);
    // "pdf" or "zip" for files of those kinds (by extension), else "unknown".
    static std::string subtypeForFileAtPath(std::string_view path);

    // The decoded body of a Base64 part, the body itself when it is 7bit, else nothing.
    std::optional<Bytes> dataContent() const override;
    // The part itself when it is an attachment.
    std::vector<MimePartPtr> attachments() override;
    std::vector<WebResource> webArchiveResources() const override;
    std::optional<std::string> webArchiveHtmlContent() const override;

  protected:
    // The page fragment and its resources, made once.
    struct Display {
        std::vector<WebResource> resources;
        std::string html;
    };
    virtual Display prepareWebResources() const;
    Display iconDisplay() const;

  private:
    Lazy<Display> display_;
};

class ApplicationPdfMimePart : public ApplicationMimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // A PDF file as a Base64 part, inline under `inlineId` when one is given.
    static std::shared_ptr<ApplicationPdfMimePart> initWithPathToFile(
        const std::string& path, std::optional<std::string_view> inlineId);

  protected:
    // The first page as a PNG at most 500 pixels wide; the file icon when the page cannot be
    // drawn (no PDF module, a damaged document).
    Display prepareWebResources() const override;
};

}  // namespace qb
