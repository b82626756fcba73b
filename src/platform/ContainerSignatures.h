// SPDX-License-Identifier: Apache-2.0
// What marks each container format, in one place: the readers that parse them, the writer
// that makes compound files and the format sniffer that only looks all use these.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace qb {

// A TNEF stream's first four bytes, read as a little-endian number.
inline constexpr uint32_t kTNEFSignature = 0x223E9F78;
inline constexpr std::string_view kTNEFSignatureBytes{"\x78\x9F\x3E\x22", 4};

// A compound file's first eight bytes.
inline constexpr std::array<uint8_t, 8> kCompoundFileSignature = {0xD0, 0xCF, 0x11, 0xE0,
                                                                  0xA1, 0xB1, 0x1A, 0xE1};
inline constexpr std::string_view kCompoundFileSignatureBytes{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1",
                                                              8};

// The storages and streams of a .msg file.
namespace msgnames {
inline constexpr std::string_view kPropertiesStream = "__properties_version1.0";
inline constexpr std::string_view kSubstgPrefix = "__substg1.0_";
inline constexpr std::string_view kRecipPrefix = "__recip_version1.0_";
inline constexpr std::string_view kAttachPrefix = "__attach_version1.0_";
inline constexpr std::string_view kEmbeddedMessage = "__substg1.0_3701000D";
inline constexpr std::string_view kNameIdStorage = "__nameid_version1.0";
// Inside the name-id storage: the GUIDs, the entries and the string names.
inline constexpr std::string_view kNameIdGUIDStream = "__substg1.0_00020102";
inline constexpr std::string_view kNameIdEntryStream = "__substg1.0_00030102";
inline constexpr std::string_view kNameIdStringStream = "__substg1.0_00040102";
}  // namespace msgnames

}  // namespace qb
