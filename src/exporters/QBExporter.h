// SPDX-License-Identifier: Apache-2.0
// The exporters' common interface: the message exporter gathers these for bodies, attachments
// and nested messages, and the api layer writes them to a folder or into one .eml.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mime/EDMessagePart.h"
#include "platform/Bytes.h"
#include "platform/Dictionary.h"
#include "platform/Export.h"

namespace qb {

/// Anything the library can save or put into a MIME message: a body, an attachment, a
/// nested message.
class QB_API QBExporter {
  public:
    virtual ~QBExporter() = default;

    /// The name under which the export is saved.
    virtual std::optional<std::string> filename() const = 0;
    virtual void setFilename(std::optional<std::string> name) = 0;
    /// The exported bytes.
    virtual std::optional<Bytes> data() const = 0;
    /// The MIME body part that carries the export inside a message; made on first use.
    virtual EDMessagePartPtr messagePart() const = 0;
    virtual std::optional<std::string> mimeType() const = 0;
    /// A description of the export; a new dictionary on each call.
    virtual Dictionary metadata() const = 0;
};

using QBExporterPtr = std::shared_ptr<QBExporter>;
using QBExporterList = std::vector<QBExporterPtr>;

}  // namespace qb
