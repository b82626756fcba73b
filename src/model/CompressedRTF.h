// SPDX-License-Identifier: Apache-2.0
// Compressed RTF, the form messages store their RTF body in: the model expands
// PR_RTF_COMPRESSED values with it, and the rtf command checks a stream's CRC with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/Bytes.h"

namespace qb {

// The header before the data: compressed size, raw size, compression type, CRC.
inline constexpr size_t kCompressedRTFHeaderSize = 16;

// CRC-32 of the compressed-RTF format: reflected polynomial 0xEDB88320, initial value 0, no
// final inversion.
uint32_t calculateCRC32(std::span<const uint8_t> bytes);

// Whether the CRC in a compressed-RTF stream's header matches the data after the header;
// false for a stream shorter than its header.
bool compressedRTFCRCMatches(const Bytes& stream);

// Checks and expands a compressed-RTF stream (16-byte header, then "LZFu" or "MELA" data).
// Nothing for a short stream, a size field that disagrees, a CRC mismatch (unless
// ignoreChecksum), an unknown type (logged) or a reference before the start of the output.
std::optional<Bytes> decompressRTF(const Bytes& stream, bool ignoreChecksum);

}  // namespace qb
