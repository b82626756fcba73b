#pragma once

#include <cstdint>
#include <streambuf>

namespace POLE {

// A read-only stream buffer over caller-owned bytes [begin, end); nothing is copied.
class byte_array_buffer : public std::streambuf {
public:
    byte_array_buffer(const uint8_t* begin, size_t size);

private:
    int_type underflow() override;
    int_type uflow() override;
    int_type pbackfail(int_type ch) override;
    std::streamsize showmanyc() override;
    // Seeking from the end ignores the offset; a position outside the bytes fails. A
    // successful seek reports the position negated, as the original buffer does.
    std::streampos seekoff(std::streamoff off, std::ios_base::seekdir way,
                           std::ios_base::openmode which) override;
    std::streampos seekpos(std::streampos sp, std::ios_base::openmode which) override;

    const uint8_t* const begin_;
    const uint8_t* const end_;
    const uint8_t* current_;
};

}  // namespace POLE
