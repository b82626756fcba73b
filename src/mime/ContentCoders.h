// SPDX-License-Identifier: Apache-2.0
// The MIME builder the exporters use: each body and attachment becomes a part, and the parts
// a multipart entity or a whole message.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mime/EDMessagePart.h"

namespace qb {

// Text bodies: US-ASCII as 7bit when the text allows it, otherwise UTF-8 as
// quoted-printable. Line breaks are written as CR LF.
class EDPlainTextContentCoder {
  public:
    explicit EDPlainTextContentCoder(std::string_view text) : text_(text) {}
    EDMessagePartPtr messagePart() const;

  private:
    std::string text_;
};

class EDHTMLTextContentCoder {
  public:
    explicit EDHTMLTextContentCoder(std::string_view html) : html_(html) {}
    EDMessagePartPtr messagePart() const;

  private:
    std::string html_;
};

// A file: type from the name's extension, the name in Content-Type and
// Content-Disposition, the bytes in Base64 (encoded when the part is written). A
// message/rfc822 body travels unencoded, as RFC 2046 requires; bytes that cannot go so are
// sent as application/octet-stream.
class EDMultimediaContentCoder {
  public:
    // The bytes are kept, not copied; a body (a nested message) is kept as its pieces.
    EDMultimediaContentCoder(Bytes data, std::string_view filename, bool inlineFlag = false)
        : EDMultimediaContentCoder(MimeBody::ofBytes(std::move(data)), filename, inlineFlag) {}
    EDMultimediaContentCoder(MimeBody data, std::string_view filename, bool inlineFlag = false)
        : data_(std::move(data)), filename_(filename), inline_(inlineFlag) {}
    // Copies the bytes.
    EDMultimediaContentCoder(std::string_view data, std::string_view filename,
                             bool inlineFlag = false)
        : EDMultimediaContentCoder(Bytes::fromString(data), filename, inlineFlag) {}
    EDMessagePartPtr messagePart() const;

  private:
    MimeBody data_;
    std::string filename_;
    bool inline_;
};

// Parts gathered into a multipart entity, or into a whole message.
class EDCompositeContentCoder {
  public:
    explicit EDCompositeContentCoder(std::vector<EDMessagePartPtr> subparts)
        : subparts_(std::move(subparts)) {}
    // The boundary is drawn from the parts and the part's position among its siblings, so
    // the same parts always give the same bytes.
    EDMessagePartPtr messagePartWithSubtype(std::string_view subtype, size_t position = 0) const;
    // A top-level multipart/mixed entity with "MIME-Version: 1.0". Without parts the
    // message is an empty text/plain one, since a multipart needs at least one part.
    EDMessagePartPtr message() const;

  private:
    std::vector<EDMessagePartPtr> subparts_;
};

// "MKMimeKit=_" and a fresh upper-case UUID: 47 characters.
std::string newBoundary();
// "MKMimeKit=_" and the name-based UUID of a multipart's subtype, position and parts.
std::string boundaryForParts(std::string_view subtype, size_t position,
                             const std::vector<EDMessagePartPtr>& parts);

// One child of a multipart body: its header set and its already encoded body.
struct MultipartPiece {
    const MKMimeHeaders* headers;
    std::string_view content;
};

// The body of a multipart entity: each part's header block and body after a delimiter
// line ("--boundary", the first with nothing before it, the later ones after a CR LF),
// then the closing delimiter "\r\n--boundary--\r\n".
std::string assembleMultipartBody(std::string_view boundary,
                                  const std::vector<MultipartPiece>& parts);
MimeBody assembleMultipartBody(std::string_view boundary,
                               const std::vector<EDMessagePartPtr>& parts);

}  // namespace qb
