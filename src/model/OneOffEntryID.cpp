// SPDX-License-Identifier: Apache-2.0
// Checks the one-off provider id, then reads three terminated strings in 8-bit or UTF-16.
#include "model/OneOffEntryID.h"

#include <cctype>
#include <string_view>

#include "platform/ByteReader.h"

namespace qb {

namespace {

// The provider id that marks an entry id as one-off, as stored.
constexpr std::string_view kOneOffProvider(
    "\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\x00\xDD\x01\x0F\x54\x02", 16);
constexpr uint16_t kUnicodeFlag = 0x8000;

// A NUL-terminated string at the reader's position, the reader moved past its terminator.
std::optional<std::string> terminatedString(ByteReader& in, bool unicode, StringEncoding encoding) {
    if (unicode) {
        if (auto text = in.wideString()) return utf16leToUTF8(text->span());
    } else if (auto text = in.cString()) {
        return decodeMessageText(text->span(), encoding);
    }
    return std::nullopt;
}

struct OneOffHeader {
    uint32_t flags;
    uint16_t version;
    bool unicode;
};

// The fixed part in front of the strings, the reader left at the first string; nothing when it
// is cut short or names another provider.
std::optional<OneOffHeader> readHeader(ByteReader& in) {
    auto flags = in.u32le();
    auto provider = in.take(kOneOffProvider.size());
    auto version = in.u16le();
    auto stringFlags = in.u16le();
    if (!flags || !provider || !version || !stringFlags || provider->view() != kOneOffProvider)
        return std::nullopt;
    return OneOffHeader{*flags, *version, (*stringFlags & kUnicodeFlag) != 0};
}

}  // namespace

std::optional<OneOffEntryID> readOneOffEntryID(const Bytes& entryID, StringEncoding encoding) {
    ByteReader in(entryID);
    auto header = readHeader(in);
    if (!header) return std::nullopt;
    const bool unicode = header->unicode;
    OneOffEntryID id;
    for (std::string* field : {&id.displayName, &id.addressType, &id.emailAddress}) {
        auto text = terminatedString(in, unicode, encoding);
        if (!text) return std::nullopt;
        *field = std::move(*text);
    }
    return id;
}

std::optional<std::string> smtpAddressOfEntryID(const Bytes& entryID, StringEncoding encoding) {
    auto id = readOneOffEntryID(entryID, encoding);
    if (!id || id->emailAddress.empty()) return std::nullopt;
    std::string type = id->addressType;
    for (char& c : type)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (type != "SMTP") return std::nullopt;
    return id->emailAddress;
}

size_t bin_decode_string(const Bytes& buffer, std::optional<std::string>& output, bool unicode,
                         StringEncoding encoding) {
    ByteReader in(buffer);
    if (unicode) {
        auto text = in.wideString();
        if (!text) return 0;
        output = utf16leToUTF8(text->span());
        return text->size() + 2;
    }
    auto text = in.cString();
    if (!text) return 0;
    output = decodeMessageText(text->span().first(text->size() >> 1), encoding);
    return text->size() + 1;
}

std::optional<OneOffMember> readOneOffMember(const Bytes& entryID, StringEncoding encoding) {
    ByteReader in(entryID);
    auto header = readHeader(in);
    if (!header || header->flags != 0 || header->version != 0) return std::nullopt;
    OneOffMember member;
    Bytes rest = in.rest();
    for (auto* field : {&member.displayName, &member.addressType, &member.emailAddress}) {
        const size_t used = bin_decode_string(rest, *field, header->unicode, encoding);
        if (used == 0) return std::nullopt;
        rest = rest.slice(used);
    }
    return member;
}

}  // namespace qb
