// SPDX-License-Identifier: Apache-2.0
// One picture of rich text as the reader meets it: its kind, its goal size and its bytes
// (hex digits or binary data), made into an image a page can show.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "richtext/StyledText.h"

namespace qb {

class RTFPictureData {
  public:
    void applyControlWord(std::string_view word, std::optional<int32_t> param);
    // Hex digits of the picture; anything else in the text is passed over.
    void addHexText(std::string_view text);
    void setBinary(Bytes data) { binary_ = std::move(data); }

    // The picture, or nothing when it has no bytes or is of a kind no page shows
    // (metafiles, device-dependent bitmaps). Device-independent bitmaps become BMP files.
    // The bytes collected are handed over.
    std::optional<StyledImage> takeImage();

  private:
    std::string kind_;
    std::optional<int32_t> goalWidth_, goalHeight_, width_, height_;
    int32_t scaleX_ = 100, scaleY_ = 100;
    std::vector<uint8_t> hex_;
    int pendingNibble_ = -1;
    std::optional<Bytes> binary_;
};

// The MIME type for a picture file name's extension ("IMG1.png" → "image/png"); empty
// when it names no picture a page shows.
std::string mimeTypeForPictureName(std::string_view name);

// A BMP file for a device-independent bitmap (a BITMAPINFOHEADER and its pixels); nothing
// when the header does not hold together.
std::optional<Bytes> bmpFileOfDIB(const Bytes& dib);

}  // namespace qb
