// SPDX-License-Identifier: Apache-2.0
// Picture, video and sound leaves: pictures and videos show inline from a "cid:" resource.
#pragma once

#include "mime/MimePart.h"

namespace qb {

class ImageMimePart : public MimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // A Base64 picture. With an inline ID it is inline, named after the ID up to its "@"
    // and carries the ID as its Content-Id; without one it is an attachment named `name`.
    static std::shared_ptr<ImageMimePart> initWithData(const Bytes& data,
                                                       std::optional<std::string_view> inlineId,
                                                       std::string_view subtype,
                                                       std::string_view name = {});
    // The same from a file; nothing when it cannot be read.
    static std::shared_ptr<ImageMimePart> initWithPathToFile(
        const std::string& path, std::optional<std::string_view> inlineId,
        std::string_view subtype);

    std::optional<Bytes> dataContent() const override;
    std::vector<WebResource> webArchiveResources() const override;
    // A paragraph with the picture (alt text and caption the raw filename parameter).
    std::optional<std::string> webArchiveHtmlContent() const override;
    std::optional<std::string> webArchiveData() const override;
};

class VideoMimePart : public ImageMimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }

    // A video element playing the "cid:" resource.
    std::optional<std::string> webArchiveHtmlContent() const override;
};

// Sound has no display of its own; the class is not registered, so parsed audio parts are
// plain MimePart objects.
class AudioMimePart : public MimePart {
  public:
    static const MimePartClass& partClass();
    const char* className() const override { return partClass().name; }
};

// Whether the part's own or inherited transfer encoding is Base64.
bool isBase64Part(const MimePart& part);

}  // namespace qb
