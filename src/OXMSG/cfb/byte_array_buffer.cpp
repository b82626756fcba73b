#include "OXMSG/cfb/byte_array_buffer.h"

#include <cassert>
#include <functional>

namespace POLE {

byte_array_buffer::byte_array_buffer(const uint8_t* begin, size_t size)
    : begin_(begin), end_(begin + size), current_(begin) {
    assert(std::less_equal<const uint8_t*>()(begin_, end_));
}

byte_array_buffer::int_type byte_array_buffer::underflow() {
    if (current_ == end_) return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(*current_));
}

byte_array_buffer::int_type byte_array_buffer::uflow() {
    if (current_ == end_) return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(*current_++));
}

byte_array_buffer::int_type byte_array_buffer::pbackfail(int_type ch) {
    if (current_ == begin_ ||
        (ch != traits_type::eof() && ch != traits_type::to_int_type(static_cast<char>(current_[-1]))))
        return traits_type::eof();
    return traits_type::to_int_type(static_cast<char>(*--current_));
}

std::streamsize byte_array_buffer::showmanyc() { return end_ - current_; }

std::streampos byte_array_buffer::seekoff(std::streamoff off, std::ios_base::seekdir way,
                                          std::ios_base::openmode) {
    const uint8_t* target = nullptr;
    if (way == std::ios_base::beg) {
        if (off < 0 || off > end_ - begin_) return std::streampos(std::streamoff(-1));
        target = begin_ + off;
    } else if (way == std::ios_base::cur) {
        if (off < begin_ - current_ || off > end_ - current_)
            return std::streampos(std::streamoff(-1));
        target = current_ + off;
    } else {
        target = end_;
    }
    current_ = target;
    return std::streampos(begin_ - current_);
}

std::streampos byte_array_buffer::seekpos(std::streampos sp, std::ios_base::openmode which) {
    return seekoff(std::streamoff(sp), std::ios_base::beg, which);
}

}  // namespace POLE
