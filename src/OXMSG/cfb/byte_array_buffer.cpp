// SPDX-License-Identifier: Apache-2.0
// Reads, put-back and bounded seeks over the span; nothing is copied or buffered.
#include "OXMSG/cfb/byte_array_buffer.h"

namespace POLE {

byte_array_buffer::int_type byte_array_buffer::underflow() {
    if (current_ == bytes_.size()) return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(bytes_[current_]));
}

byte_array_buffer::int_type byte_array_buffer::uflow() {
    if (current_ == bytes_.size()) return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(bytes_[current_++]));
}

byte_array_buffer::int_type byte_array_buffer::pbackfail(int_type ch) {
    if (current_ == 0 || (ch != traits_type::eof() &&
                          ch != traits_type::to_int_type(static_cast<char>(bytes_[current_ - 1]))))
        return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(bytes_[--current_]));
}

std::streamsize byte_array_buffer::showmanyc() {
    return std::streamsize(bytes_.size() - current_);
}

std::streampos byte_array_buffer::seekoff(std::streamoff off, std::ios_base::seekdir way,
                                          std::ios_base::openmode) {
    const auto size = std::streamoff(bytes_.size());
    const auto current = std::streamoff(current_);
    std::streamoff target = size;
    if (way == std::ios_base::beg) {
        if (off < 0 || off > size) return std::streampos(std::streamoff(-1));
        target = off;
    } else if (way == std::ios_base::cur) {
        if (off < -current || off > size - current) return std::streampos(std::streamoff(-1));
        target = current + off;
    }
    current_ = size_t(target);
    return std::streampos(-target);
}

std::streampos byte_array_buffer::seekpos(std::streampos sp, std::ios_base::openmode which) {
    return seekoff(std::streamoff(sp), std::ios_base::beg, which);
}

}  // namespace POLE
