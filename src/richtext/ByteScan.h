// SPDX-License-Identifier: Apache-2.0
// Looking at text eight bytes at a time for the few bytes that matter (the ones that end a
// run of RTF text, or that a page must escape): long runs of ordinary characters pass in
// a handful of instructions per word instead of a test per byte.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qb::bytescan {

inline constexpr uint64_t kOnes = 0x0101010101010101ULL;
inline constexpr uint64_t kHighs = 0x8080808080808080ULL;
// The word-at-a-time tests need the first byte in the lowest bits; elsewhere every caller
// looks at one byte at a time.
inline constexpr bool kWordScan = std::endian::native == std::endian::little;

inline uint64_t load(const char* p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// High bits set for the bytes of `v` equal to `c`. Only the lowest set bit is exact (a
// borrow may mark a byte after a true one), which is all the callers use.
constexpr uint64_t equalTo(uint64_t v, unsigned char c) {
    const uint64_t x = v ^ (kOnes * c);
    return (x - kOnes) & ~x & kHighs;
}

// High bits set for the bytes of `v` below `n` (n at most 128); the lowest one is exact.
constexpr uint64_t below(uint64_t v, unsigned char n) {
    return (v - kOnes * n) & ~v & kHighs;
}

// The index of the byte the lowest set high bit of `mask` marks.
inline size_t firstMarked(uint64_t mask) {
    return static_cast<size_t>(std::countr_zero(mask)) / 8;
}

// The first byte from `from` on that is one of `stops` or, when `below` is not 0, less
// than `below`; `s.size()` when there is none. Sixteen bytes at a time where the processor
// has the instructions for it, eight elsewhere.
template <size_t N>
size_t findFirst(std::string_view s, size_t from, const char (&stops)[N], unsigned char under = 0) {
    size_t i = from;
#if defined(__SSE2__)
    const __m128i limit = _mm_set1_epi8(static_cast<char>(under ^ 0x80));
    for (; i + 16 <= s.size(); i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s.data() + i));
        __m128i m = _mm_setzero_si128();
        for (size_t k = 0; k + 1 < N; ++k)
            m = _mm_or_si128(m, _mm_cmpeq_epi8(v, _mm_set1_epi8(stops[k])));
        // Unsigned "less than" as a signed compare with the top bits flipped.
        if (under)
            m = _mm_or_si128(
                m, _mm_cmplt_epi8(_mm_xor_si128(v, _mm_set1_epi8(static_cast<char>(0x80))), limit));
        if (const int bits = _mm_movemask_epi8(m))
            return i + static_cast<size_t>(std::countr_zero(static_cast<unsigned>(bits)));
    }
#endif
    if constexpr (kWordScan) {
        for (; i + 8 <= s.size(); i += 8) {
            const uint64_t v = load(s.data() + i);
            uint64_t m = under ? below(v, under) : 0;
            for (size_t k = 0; k + 1 < N; ++k)
                m |= equalTo(v, static_cast<unsigned char>(stops[k]));
            if (m) return i + firstMarked(m);
        }
    }
    for (; i < s.size(); ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c < under) return i;
        for (size_t k = 0; k + 1 < N; ++k)
            if (s[i] == stops[k]) return i;
    }
    return i;
}

// Whether every byte of `s` is ASCII.
inline bool isASCII(std::string_view s) {
    size_t i = 0;
    uint64_t any = 0;
    for (; i + 8 <= s.size(); i += 8)
        any |= load(s.data() + i);
    for (; i < s.size(); ++i)
        any |= static_cast<unsigned char>(s[i]);
    return (any & kHighs) == 0;
}

}  // namespace qb::bytescan
