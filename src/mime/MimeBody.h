// SPDX-License-Identifier: Apache-2.0
// A MIME body kept as the pieces it is written from: encoded text, windows onto the input and
// Base64 of other bodies, so that a message with large attachments is written out without
// ever being held whole.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Export.h"

namespace qb {

// Takes the next stretch of output; false stops the writing.
using MimeSink = std::function<bool(std::string_view)>;

class QB_API MimeBody {
  public:
    MimeBody() = default;
    explicit MimeBody(std::string text);
    // The bytes as they are, not copied.
    static MimeBody ofBytes(Bytes bytes);
    // `body` in Base64: lines of 76 characters (57 bytes each) joined by CR LF, no line
    // break after the last. Encoded as it is written.
    static MimeBody base64Of(MimeBody body);

    void append(std::string_view text);
    void append(const MimeBody& body);

    // The number of bytes write() hands over, known without encoding anything.
    uint64_t size() const { return size_; }
    // Hands every byte to `sink` in order, encoded content in stretches of at most 64 KB;
    // false when the sink stopped it.
    bool write(const MimeSink& sink) const;
    // All of it in one string.
    std::string str() const;

  private:
    // One of: text, bytes, or a body to write in Base64.
    struct Piece {
        std::shared_ptr<std::string> text;
        Bytes bytes;
        std::shared_ptr<const MimeBody> base64;
        uint64_t size = 0;
    };
    std::vector<Piece> pieces_;
    uint64_t size_ = 0;
};

// Base64 in 76-character lines joined by CR LF, for bytes that arrive in stretches of any
// length; the lines go to the sink in stretches of about 64 KB.
class QB_API Base64LineWriter {
  public:
    explicit Base64LineWriter(const MimeSink& sink) : sink_(sink) {}
    bool add(std::string_view bytes);
    // Encodes what is left (padded) and hands over the rest; false when the sink stopped.
    bool finish();
    // The encoded size of `n` bytes.
    static uint64_t encodedSize(uint64_t n);

  private:
    bool line(std::string_view bytes);
    const MimeSink& sink_;
    std::string carry_, out_;
    bool first_ = true;
};

}  // namespace qb
