// SPDX-License-Identifier: Apache-2.0
// The file-format table: the exporters use it to name and type attachments, and the front
// door to tell what an input is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

namespace qb {

// A known file format: its type identifier, a description for people, its MIME types and
// file extensions (the first of each preferred). Formats are told apart by their signature
// bytes, by the entries of a ZIP or compound-file container, or by extension.
class QBFileFormat {
  public:
    std::string identifier;  // "com.adobe.pdf"
    std::string description;
    std::vector<std::string> mimeTypes;
    std::vector<std::string> extensions;  // without the dot, lower case

    const std::string& preferredFileExtension() const { return extensions.front(); }
    const std::string& preferredMIMEType() const { return mimeTypes.front(); }

    // Every format, built once.
    static const std::vector<QBFileFormat>& allFormats();
    static const QBFileFormat* formatWithIdentifier(std::string_view identifier);
    // The format the bytes are in, by signature and container contents; null when unknown.
    static const QBFileFormat* fileFormatOfData(const Bytes& data);
    // By extension ("PDF", "pdf" or ".pdf"); null when unknown.
    static const QBFileFormat* fileFormatForExtension(std::string_view extension);
    static const QBFileFormat* fileFormatForMIMEType(std::string_view mimeType);
    // The content decides; the name's extension when the content tells nothing.
    static const QBFileFormat* fileFormatOfData(const Bytes& data, std::string_view fileName);
};

}  // namespace qb
