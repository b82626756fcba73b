// SPDX-License-Identifier: Apache-2.0
// Finds the winmail.dat of a mail and turns the mail's own headers and bodies into the
// dictionary that lets them stand in for the TNEF stream's fields.
#include "api/TNEFInMail.h"

#include <string>
#include <string_view>

#include "api/MailBodies.h"
#include "api/MailDate.h"
#include "mailkit/MKEmailAddress.h"
#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

bool isFieldNameChar(unsigned char c) {
    return c > 32 && c < 127 && c != ':';
}

std::optional<std::string> decodedHeader(const MimePart& root, std::string_view key) {
    auto value = root.headers().firstHeaderForKey(key);
    if (!value) return std::nullopt;
    return std::string(trimmedBlanks(decodedMimeEncodedString(*value)));
}

Dictionary addressEntry(const MKEmailAddress& address) {
    Dictionary entry = Dictionary::object();
    entry["displayName"] = address.addressComment().value_or("");
    entry["address"] = address.userAtDomain().value_or("");
    return entry;
}

// Every mailbox of every field of that name; nothing when the mail has no such field.
std::optional<Dictionary> addressListHeader(const MimePart& root, std::string_view key) {
    std::optional<Dictionary> list;
    for (const auto& [name, values] : root.headers().headerDictionary()) {
        if (lowercasedASCII(name) != lowercasedASCII(key)) continue;
        if (!list) list = Dictionary::array();
        for (const auto& value : values)
            for (const auto& address : MKEmailAddress::emailAddressesFromHeaderValue(value))
                list->push_back(addressEntry(address));
    }
    return list;
}

}  // namespace

bool looksLikeMail(const Bytes& data) {
    const std::string_view text = data.view();
    size_t i = 0;
    while (i < text.size() && isFieldNameChar(static_cast<unsigned char>(text[i])))
        ++i;
    if (i == 0 || i >= text.size() || text[i] != ':') return false;
    return text.find("\r\n\r\n") != std::string_view::npos ||
           text.find("\n\n") != std::string_view::npos;
}

Bytes withMailLineEnds(const Bytes& data) {
    const std::string_view text = data.view();
    if (text.find("\r\n\r\n") != std::string_view::npos || text.find('\n') == std::string::npos)
        return data;
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
        out += text[i];
    }
    return Bytes::adoptString(std::move(out));
}

MimePartPtr mimePartsOfMail(const Bytes& data) {
    registerBuiltinMimeParts();
    return MimePart::mimePartForData(withMailLineEnds(data));
}

std::vector<MimePartPtr> tnefPartsOfMail(const MimePartPtr& root) {
    std::vector<MimePartPtr> found;
    forEachMimeLeaf(root, [&](const MimePartPtr& part) {
        if (isTNEFPart(*part)) found.push_back(part);
    });
    return found;
}

Dictionary tnefHeaderDictionary(const MimePartPtr& root) {
    Dictionary d = Dictionary::object();
    if (!root) return d;
    if (auto v = decodedHeader(*root, "X-MS-TNEF-Correlator")) d["X-MS-TNEF-Correlator"] = *v;
    if (auto v = decodedHeader(*root, "Message-ID")) d["messageID"] = *v;
    if (auto from = addressListHeader(*root, "From"); from && !from->empty())
        d["sender"] = (*from)[0];
    for (const auto& [key, field] : {std::pair{"to", "To"}, {"cc", "Cc"}, {"bcc", "Bcc"}})
        if (auto list = addressListHeader(*root, field)) d[key] = std::move(*list);
    if (auto v = decodedHeader(*root, "Subject")) d["subject"] = *v;
    if (auto v = decodedHeader(*root, "Date"))
        if (auto date = parseMailDate(*v)) d["date"] = formatRFC3339(*date);

    const MailBodies bodies = mailBodies(root);
    if (bodies.plain) d["mimeBodyContent"] = *bodies.plain;
    if (bodies.html) d["mimeHtmlBodyContent"] = *bodies.html;
    return d;
}

}  // namespace qb
