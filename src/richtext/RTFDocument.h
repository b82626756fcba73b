// SPDX-License-Identifier: Apache-2.0
// An RTF document with pictures rewritten as a rich-text directory document: the RTF as
// "TXT.rtf" with each kept picture replaced by a "\NeXTGraphic" reference, and the picture
// files beside it; its HTML carries the pictures as data: URIs.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Bytes.h"
#include "richtext/RTFPicture.h"

namespace qb {

// The files of a directory document, in the order they were added.
using RTFDirectory = std::vector<std::pair<std::string, Bytes>>;

inline constexpr const char* kRTFDirectoryTextName = "TXT.rtf";

class RTFDocument {
  public:
    // Nothing when the RTF holds no picture.
    static std::shared_ptr<RTFDocument> create(Bytes rtf);

    const Bytes& rtfData() const { return rtf_; }
    std::string_view rtfString() const { return rtf_.view(); }
    const RTFDirectory& rtfdFileWrapper() const { return files_; }
    const std::vector<std::shared_ptr<RTFPicture>>& pictures() const { return pictures_; }
    // The document as HTML, made on first use; nothing when it cannot be read.
    std::optional<Bytes> htmlData() const;

  private:
    RTFDocument() = default;
    void findPictures();
    void rewrite();

    Bytes rtf_;
    RTFDirectory files_;
    std::vector<std::shared_ptr<RTFPicture>> pictures_;
    mutable std::once_flag htmlOnce_;
    mutable std::optional<Bytes> html_;
};

}  // namespace qb
