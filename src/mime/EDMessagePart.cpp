// SPDX-License-Identifier: Apache-2.0
// The media type read back from the Content-Type field, and the part serialised for output.
#include "mime/EDMessagePart.h"

#include <cctype>

#include "mime/MimeConstants.h"
#include "platform/AsciiCase.h"

namespace qb {

std::string EDMessagePart::contentType() const {
    auto value = headers_.firstHeaderForKey(kMimeHeaderContentType);
    if (!value) return {};
    std::string type = value->substr(0, value->find(';'));
    while (!type.empty() && std::isspace(static_cast<unsigned char>(type.back())))
        type.pop_back();
    return lowercasedASCII(type);
}

void EDMessagePart::addToHeaderFields(std::string_view name, std::string_view fieldBody) {
    headers_.setHeader(fieldBody, name);
}

MimeBody EDMessagePart::transferBody() const {
    MimeBody out(headers_.foldedHeaderString() + "\r\n\r\n");
    out.append(content_);
    return out;
}

}  // namespace qb
