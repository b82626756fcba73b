// SPDX-License-Identifier: Apache-2.0
// Text leaves: plain text shown preformatted, HTML shown as it is.
#pragma once

#include "mime/MimePart.h"

namespace qb {

class TextMimePart : public MimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // ASCII text goes as 7bit us-ascii; other text as quoted-printable in the first of
    // `encoding`, ISO-8859-2, UTF-8, UTF-16 that holds it. `transferEncoding` is kept as
    // the part's own transfer encoding. Nothing when no encoding holds the text.
    static std::shared_ptr<TextMimePart> initWithPlainText(std::string_view text,
                                                           StringEncoding encoding,
                                                           std::string_view transferEncoding);

    // The decoded text of a text/plain part; nothing for other subtypes. Quoted-printable
    // text comes back already escaped for ASCII HTML.
    std::optional<std::string> plainContent() const override;
    // plainContent escaped for ASCII HTML in a preformatted block (quoted-printable text is
    // thus escaped twice, which is how it is shown).
    std::optional<std::string> webArchivePlainContent() const override;
    std::optional<std::string> webArchiveData() const override;

  protected:
    void setUpBuilt(std::string_view subtype, std::string_view text, StringEncoding encoding,
                    std::string_view transferEncoding, bool* ok);
};

class TextHtmlMimePart : public TextMimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    static std::shared_ptr<TextHtmlMimePart> initWithHtmlString(std::string_view html,
                                                                StringEncoding encoding,
                                                                std::string_view transferEncoding);

    // The decoded HTML; quoted-printable HTML has its non-ASCII characters as references.
    std::optional<std::string> htmlContent() const override;
    std::optional<std::string> webArchiveHtmlContent() const override { return htmlContent(); }
    std::optional<std::string> plainContent() const override { return std::nullopt; }
    std::optional<std::string> webArchivePlainContent() const override { return std::nullopt; }
};

}  // namespace qb
