// SPDX-License-Identifier: Apache-2.0
// Parsing goes through RFC2822Scanner; writing quotes the display name and turns a name
// beyond ASCII into one encoded word.
#include "mailkit/MKEmailAddress.h"

#include <fmt/format.h>

#include <cctype>

#include "mailkit/MimeEncoding.h"
#include "mailkit/RFC2822Scanner.h"
#include "mailkit/Unicode.h"
#include "platform/Log.h"

namespace qb {

std::optional<MKEmailAddress> MKEmailAddress::fromCommentedAddress(std::string_view text) {
    RFC2822Scanner scanner(text);
    RFC2822Mailbox box;
    if (!scanner.scanMailbox(box, nullptr)) return std::nullopt;
    return MKEmailAddress(box.displayName, box.localPart.empty() ? Text() : Text(box.localPart),
                          box.domain);
}

std::vector<MKEmailAddress> MKEmailAddress::emailAddressesFromHeaderValue(std::string_view value) {
    std::vector<MKEmailAddress> list;
    RFC2822Scanner scanner(value);
    RFC2822Mailbox box;
    std::string error;
    while (scanner.scanMailbox(box, &error)) {
        Text name;
        if (box.displayName) name = decodedMimeEncodedString(*box.displayName);
        list.emplace_back(name, box.localPart.empty() ? Text() : Text(box.localPart), box.domain);
    }
    if (!error.empty()) logf("\n\t\t{}\n\t\t\t\tERROR: {}", value, error);
    return list;
}

std::optional<std::string> MKEmailAddress::rfc2822RepresentationForAddresses(
    const std::vector<MKEmailAddress>& addresses) {
    std::string out;
    for (const auto& a : addresses) {
        auto r = a.rfc2822Representation();
        if (!r) continue;
        if (!out.empty()) out += ',';
        out += *r;
    }
    if (out.empty()) return std::nullopt;
    return out;
}

MKEmailAddress::Text MKEmailAddress::userAtDomain() const {
    if (!userName_ || !domain_) return std::nullopt;
    return fmt::format("{}@{}", *userName_, *domain_);
}

namespace {

bool isDotAtom(std::string_view s) {
    if (s.empty() || s.front() == '.' || s.back() == '.') return false;
    for (size_t i = 0; i < s.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '.') {
            if (s[i + 1] == '.') return false;
            continue;
        }
        if (c < 0x80 && !std::isalnum(c) &&
            std::string_view("!#$%&'*+-/=?^_`{|}~").find(static_cast<char>(c)) ==
                std::string_view::npos)
            return false;
    }
    return true;
}

}  // namespace

MKEmailAddress::Text MKEmailAddress::addrSpec() const {
    if (!userName_) return std::nullopt;
    std::string local = *userName_;
    if (!isDotAtom(local)) {
        std::string quoted = "\"";
        for (char c : local) {
            if (c == '"' || c == '\\') quoted += '\\';
            quoted += c;
        }
        local = quoted + "\"";
    }
    if (!domain_) return local;
    return local + "@" + *domain_;
}

MKEmailAddress::Text MKEmailAddress::commentedAddress() const {
    auto address = userAtDomain();
    if (!addressComment_ || !address) return std::nullopt;
    return fmt::format("{} <{}>", *addressComment_, *address);
}

MKEmailAddress::Text MKEmailAddress::displayName() const {
    if (addressComment_) return decodedMimeEncodedString(*addressComment_);
    return userAtDomain();
}

MKEmailAddress::Text MKEmailAddress::rfc2822Representation() const {
    auto address = userAtDomain();
    if (!addressComment_) return address;
    // The quotes stay around an encoded word, and nothing inside the name is escaped.
    const std::string name = isASCII(*addressComment_)
                                 ? *addressComment_
                                 : mimeWordWithString(*addressComment_, kISOLatin1Encoding);
    if (!address) return fmt::format("\"{}\"", name);
    return fmt::format("\"{}\" <{}>", name, *address);
}

std::string MKEmailAddress::description() const {
    return fmt::format("<MKEmailAddress: {}> {}", fmt::ptr(this),
                       rfc2822Representation().value_or("(null)"));
}

}  // namespace qb
