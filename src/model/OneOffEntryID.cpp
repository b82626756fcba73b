#include "model/OneOffEntryID.h"

#include <cctype>
#include <cstring>

#include "platform/ByteReader.h"

namespace qb {

namespace {

// The provider id that marks an entry id as one-off, as stored.
constexpr uint8_t kOneOffProvider[16] = {0x81, 0x2B, 0x1F, 0xA4, 0xBE, 0xA3, 0x10, 0x19,
                                         0x9D, 0x6E, 0x00, 0xDD, 0x01, 0x0F, 0x54, 0x02};
constexpr uint16_t kUnicodeFlag = 0x8000;

// A NUL-terminated string at the reader's position, the reader moved past its terminator.
std::optional<std::string> terminatedString(ByteReader& in, bool unicode, StringEncoding encoding) {
    const Bytes rest = in.bytes().slice(in.position());
    const size_t unit = unicode ? 2 : 1;
    for (size_t i = 0; i + unit <= rest.size(); i += unit) {
        if (rest[i] != 0 || (unicode && rest[i + 1] != 0)) continue;
        const Bytes text = rest.slice(0, i);
        in.skip(i + unit);
        if (unicode) return utf16leToUTF8(text.span());
        return decodeMessageText(text.span(), encoding);
    }
    return std::nullopt;
}

}  // namespace

std::optional<OneOffEntryID> readOneOffEntryID(const Bytes& entryID, StringEncoding encoding) {
    ByteReader in(entryID);
    auto flags = in.u32le();
    auto provider = in.take(sizeof kOneOffProvider);
    auto version = in.u16le();
    auto stringFlags = in.u16le();
    if (!flags || !provider || !version || !stringFlags ||
        std::memcmp(provider->data(), kOneOffProvider, sizeof kOneOffProvider) != 0)
        return std::nullopt;
    const bool unicode = (*stringFlags & kUnicodeFlag) != 0;
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

}  // namespace qb
