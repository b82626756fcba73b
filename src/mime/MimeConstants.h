// SPDX-License-Identifier: Apache-2.0
// Header names, media types and encoding tokens shared by the MIME parts, the MIME builder
// and the message exporter, so each is spelled once.
#pragma once

namespace qb {

inline constexpr const char* kMimeTypeMultipart = "multipart";
inline constexpr const char* kMimeMultipartSubtypeMixed = "mixed";
inline constexpr const char* kMimeMultipartSubtypeAternative = "alternative";
inline constexpr const char* kMimeMultipartSubtypeRelated = "related";
inline constexpr const char* kMimeMultipartBoundaryFormatString = "MKMimeKit=_{}";
inline constexpr const char* kMimeHeaderContentType = "Content-Type";
inline constexpr const char* kMimeHeaderContentDisposition = "Content-Disposition";
inline constexpr const char* kMimeHeaderContentTransferEncoding = "Content-Transfer-Encoding";
inline constexpr const char* kMimeHeaderContentID = "Content-Id";
inline constexpr const char* kMimeTransferEncoding7Bit = "7bit";
inline constexpr const char* kMimeTransferEncoding8Bit = "8bit";
inline constexpr const char* kMimeTransferEncodingBase64 = "base64";
inline constexpr const char* kMimeTransferEncodingQuotedPrintable = "quoted-printable";
inline constexpr const char* kMimeContentEncodingUSASCII = "us-ascii";
inline constexpr const char* kMimeContentEncodingISO8859 = "iso-8859-1";
inline constexpr const char* kMimeContentEncodingUTF8 = "utf-8";
inline constexpr const char* kMimeImageSubtypePng = "png";
inline constexpr const char* kMimeImageSubtypeJpg = "jpeg";

}  // namespace qb
