// SPDX-License-Identifier: Apache-2.0
// One picture group of an RTF document found by scanning its text: where the group begins
// and ends, where its binary bytes lie, its kind and rank, and its goal size.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace qb {

struct TextRange {
    size_t location = 0;
    size_t length = 0;
    // Whether `position` lies in the range.
    bool contains(size_t position) const {
        return position >= location && position - location < length;
    }
};

class RTFPicture {
  public:
    // The picture whose group begins at `location` of `rtf` (the document's bytes, read as
    // text); nothing when no "\bin" with a count follows.
    static std::shared_ptr<RTFPicture> create(const Bytes& rtf, size_t location);

    size_t tagStartPosition() const { return tagStart_; }
    // Just past the group's closing "}}"; 0 when it was never found.
    size_t tagEndPosition() const { return tagEnd_; }
    TextRange rtfTagRange() const { return tagRange_; }
    TextRange pictureDataRange() const { return dataRange_; }
    const Bytes& pictureData() const { return data_; }
    const std::string& extension() const { return extension_; }
    int alternativeRank() const { return rank_; }
    const std::optional<std::string>& preferredWidth() const { return width_; }
    const std::optional<std::string>& preferredHeight() const { return height_; }
    const std::shared_ptr<RTFPicture>& alternativePicture() const { return alternative_; }
    void setAlternativePicture(std::shared_ptr<RTFPicture> p) { alternative_ = std::move(p); }

    void scanForFileExtension();
    void scanForPictureSize();

  private:
    RTFPicture() = default;
    // Whether `keyword` occurs inside the group.
    bool groupContains(std::string_view keyword) const;
    std::optional<std::string> digitsAfter(std::string_view keyword) const;

    std::string_view text_;
    size_t tagStart_ = 0, tagEnd_ = 0;
    TextRange tagRange_, dataRange_;
    Bytes data_;
    std::string extension_ = "bmp";
    int rank_ = 5;
    std::optional<std::string> width_, height_;
    std::shared_ptr<RTFPicture> alternative_;
};

}  // namespace qb
