// SPDX-License-Identifier: Apache-2.0
// Pieces written in order; Base64 is made line by line with the mail toolkit's encoder while
// it is written, so its output never exists whole.
#include "mime/MimeBody.h"

#include <algorithm>

#include "mailkit/Base64.h"

namespace qb {

namespace {

constexpr size_t kLineBytes = 57;
constexpr size_t kStretch = size_t(64) << 10;

}  // namespace

MimeBody::MimeBody(std::string text) {
    append(text);
}

MimeBody MimeBody::ofBytes(Bytes bytes) {
    MimeBody body;
    body.size_ = bytes.size();
    if (!bytes.empty()) body.pieces_.push_back({nullptr, std::move(bytes), nullptr, body.size_});
    return body;
}

MimeBody MimeBody::base64Of(MimeBody body) {
    MimeBody out;
    out.size_ = Base64LineWriter::encodedSize(body.size());
    if (out.size_)
        out.pieces_.push_back(
            {nullptr, Bytes(), std::make_shared<const MimeBody>(std::move(body)), out.size_});
    return out;
}

void MimeBody::append(std::string_view text) {
    if (text.empty()) return;
    // Text joins the text before it unless another body shares that piece.
    if (pieces_.empty() || !pieces_.back().text || pieces_.back().text.use_count() != 1)
        pieces_.push_back({std::make_shared<std::string>(), Bytes(), nullptr, 0});
    pieces_.back().text->append(text);
    pieces_.back().size += text.size();
    size_ += text.size();
}

void MimeBody::append(const MimeBody& body) {
    pieces_.insert(pieces_.end(), body.pieces_.begin(), body.pieces_.end());
    size_ += body.size_;
}

bool MimeBody::write(const MimeSink& sink) const {
    for (const auto& piece : pieces_) {
        if (piece.text) {
            if (!sink(*piece.text)) return false;
        } else if (piece.base64) {
            Base64LineWriter encoder(sink);
            if (!piece.base64->write([&](std::string_view s) { return encoder.add(s); }) ||
                !encoder.finish())
                return false;
        } else if (!sink(piece.bytes.view())) {
            return false;
        }
    }
    return true;
}

std::string MimeBody::str() const {
    std::string out;
    out.reserve(size_);
    write([&](std::string_view s) {
        out.append(s);
        return true;
    });
    return out;
}

uint64_t Base64LineWriter::encodedSize(uint64_t n) {
    if (n == 0) return 0;
    const uint64_t lines = (n + kLineBytes - 1) / kLineBytes;
    return (n + 2) / 3 * 4 + (lines - 1) * 2;
}

bool Base64LineWriter::line(std::string_view bytes) {
    if (!first_) out_ += "\r\n";
    first_ = false;
    appendBase64(out_, bytes);
    if (out_.size() < kStretch) return true;
    const bool ok = sink_(out_);
    out_.clear();
    return ok;
}

bool Base64LineWriter::add(std::string_view bytes) {
    if (!carry_.empty()) {
        const size_t take = std::min(bytes.size(), kLineBytes - carry_.size());
        carry_.append(bytes.substr(0, take));
        bytes.remove_prefix(take);
        if (carry_.size() < kLineBytes) return true;
        if (!line(carry_)) return false;
        carry_.clear();
    }
    while (bytes.size() >= kLineBytes) {
        if (!line(bytes.substr(0, kLineBytes))) return false;
        bytes.remove_prefix(kLineBytes);
    }
    carry_.assign(bytes);
    return true;
}

bool Base64LineWriter::finish() {
    if (!carry_.empty() && !line(carry_)) return false;
    carry_.clear();
    if (out_.empty()) return true;
    const bool ok = sink_(out_);
    out_.clear();
    return ok;
}

}  // namespace qb
