// The mail toolkit's decoders and parsers: encoded words, quoted-printable, Base64, HTML
// entities, the RFC 2822 scanner, header blocks.
#include <string_view>

#include "mailkit/Base64.h"
#include "mailkit/EmailAddressParsing.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/MKEmailAddress.h"
#include "mailkit/MKMimeHeaders.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MimeEncoding.h"
#include "model/Address.h"
#include "platform/Log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const std::string_view s(reinterpret_cast<const char*>(data), size);
    (void)qb::decodedMimeEncodedString(s);
    (void)qb::stringWithMimeEncodedWord(s);
    (void)qb::stringFromQuotedPrintableString(s, qb::kUTF8Encoding);
    (void)qb::decodedQuotedPrintableString(s, qb::kWindowsCP1252Encoding);
    (void)qb::htmlEncodedStringFromQuotedPrintableString(s, qb::kShiftJISEncoding);
    (void)qb::NewBase64Decode(s);
    (void)qb::stringByConvertingLiteralsToBase64(s);
    (void)qb::stringByDecodingHTMLEntities(s);
    (void)qb::stringByEscapingForAsciiHTML(s);
    (void)qb::emailAddressValidate(s);
    (void)qb::MKEmailAddress::emailAddressesFromHeaderValue(s);
    (void)qb::MKEmailAddress::fromCommentedAddress(s);
    (void)qb::Address::addressesFormAttendeesString(std::string(s));
    qb::MKMessageHeaders headers(s);
    (void)headers.addressListForKey("To");
    (void)headers.headerForKey("Subject");
    (void)qb::mimeWordWithString(s, qb::kISOLatin1Encoding);
    (void)qb::quotedPrintableStringForPlainTextBody(s, 0);
    (void)qb::MKMimeHeaders::mimeEncodedHeaderForKey("Subject", s, 0);
    (void)qb::foldHeaderLine(s);
    return 0;
}
