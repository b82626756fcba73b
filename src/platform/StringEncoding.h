// SPDX-License-Identifier: Apache-2.0
// Text encodings for every layer: code pages, charset names and message bytes become UTF-8
// here, and this is the only place that talks to ICU's converters.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace qb {

/// A text encoding, numbered as the platform numbers them: the well-known small codes for the
/// common encodings, 0x80000000 | <platform code> for the rest. 0 means none, kInvalidEncoding
/// means a conversion found nothing.
using StringEncoding = uint64_t;

inline constexpr StringEncoding kNoEncoding = 0;
inline constexpr StringEncoding kASCIIEncoding = 1;
inline constexpr StringEncoding kJapaneseEUCEncoding = 3;
inline constexpr StringEncoding kUTF8Encoding = 4;
inline constexpr StringEncoding kISOLatin1Encoding = 5;
inline constexpr StringEncoding kShiftJISEncoding = 8;
inline constexpr StringEncoding kISOLatin2Encoding = 9;
inline constexpr StringEncoding kUTF16Encoding = 10;
inline constexpr StringEncoding kWindowsCP1251Encoding = 11;
inline constexpr StringEncoding kWindowsCP1252Encoding = 12;
inline constexpr StringEncoding kWindowsCP1253Encoding = 13;
inline constexpr StringEncoding kWindowsCP1254Encoding = 14;
inline constexpr StringEncoding kWindowsCP1250Encoding = 15;
inline constexpr StringEncoding kISO2022JPEncoding = 21;
inline constexpr StringEncoding kMacRomanEncoding = 30;
inline constexpr StringEncoding kUTF16BEEncoding = 0x90000100;
inline constexpr StringEncoding kUTF16LEEncoding = 0x94000100;
inline constexpr StringEncoding kInvalidEncoding = 0xFFFFFFFF;

/// Whether the library knows how to convert text in `encoding`.
QB_API bool isKnownEncoding(StringEncoding encoding);

/// Windows code page number -> encoding; kInvalidEncoding for a code page we do not know.
QB_API StringEncoding encodingForWindowsCodePage(uint32_t codePage);
QB_API std::optional<uint32_t> windowsCodePageForEncoding(StringEncoding encoding);

/// Lower-case IANA charset name ("iso-8859-1", "windows-1252"); empty when unknown.
QB_API std::string ianaNameForEncoding(StringEncoding encoding);
/// Any IANA name or alias, case-insensitive; kInvalidEncoding when unknown.
QB_API StringEncoding encodingForIANAName(std::string_view name);

/// Bytes in `encoding` -> UTF-8. Strict mode fails on bytes that do not decode; lossy mode
/// puts U+FFFD in their place. Nothing for an unknown encoding.
QB_API std::optional<std::string> decodeString(std::span<const uint8_t> bytes,
                                               StringEncoding encoding, bool lossy = true);
inline std::optional<std::string> decodeString(std::string_view bytes, StringEncoding encoding,
                                               bool lossy = true) {
    return decodeString({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, encoding,
                        lossy);
}

/// 8-bit text from a message file, where the declared encoding is sometimes wrong: decoded
/// strictly in `encoding`; bytes that are not UTF-8 although UTF-8 was declared are read as
/// Windows-1252 (what such writers meant); otherwise undecodable bytes become U+FFFD.
QB_API std::optional<std::string> decodeMessageText(std::span<const uint8_t> bytes,
                                                    StringEncoding encoding);

/// UTF-8 text -> bytes in `encoding`. Nothing when a character cannot be represented (or the
/// text is not valid UTF-8), unless lossy, which substitutes the encoding's replacement byte.
QB_API std::optional<std::string> encodeString(std::string_view utf8, StringEncoding encoding,
                                               bool lossy = false);

/// Whether every character of `utf8` survives the trip to `encoding` and back.
QB_API bool canConvertLosslessly(std::string_view utf8, StringEncoding encoding);

/// UTF-16 little-endian -> UTF-8, unpaired surrogates replaced.
QB_API std::string utf16leToUTF8(std::span<const uint8_t> bytes);
/// UTF-8 -> UTF-16 little-endian bytes.
QB_API std::string utf8ToUTF16LE(std::string_view utf8);

/// Whether `text` is well-formed UTF-8.
QB_API bool isValidUTF8(std::string_view text);
/// Number of Unicode code points in valid UTF-8.
QB_API size_t codePointCount(std::string_view utf8);

}  // namespace qb
