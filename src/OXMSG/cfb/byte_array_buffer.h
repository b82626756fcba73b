// SPDX-License-Identifier: Apache-2.0
// A std::streambuf over bytes in memory, for code that wants to read a buffer as an istream.
#pragma once

#include <cstdint>
#include <span>
#include <streambuf>

namespace POLE {

// A read-only stream buffer over caller-owned bytes [begin, end); nothing is copied.
class byte_array_buffer : public std::streambuf {
  public:
    explicit byte_array_buffer(std::span<const uint8_t> bytes) : bytes_(bytes) {}
    byte_array_buffer(const uint8_t* begin, size_t size)
        : byte_array_buffer(std::span<const uint8_t>(begin, size)) {}

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

    const std::span<const uint8_t> bytes_;
    size_t current_ = 0;  // index of the next byte
};

}  // namespace POLE
