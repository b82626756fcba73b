// SPDX-License-Identifier: Apache-2.0
// Format dispatch for every program built on the library: the compound-file signature picks
// the .msg reader, a mail opens the winmail.dat it carries, anything else is tried as TNEF; a
// signed message then takes its bodies from the MIME entity it carries.
#include "api/OpenMessage.h"

#include <fmt/format.h>

#include <cctype>
#include <string_view>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "api/SignedContent.h"
#include "api/TNEFInMail.h"
#include "formats/QBFileFormat.h"
#include "platform/Localized.h"
#include "tnef/TNEFMessage.h"

namespace qb {

namespace {

constexpr const char* kUnrecognizedText =
    "It may be damaged or use a file format that Quillbox doesn't recognize.";
constexpr const char* kNotAMessageText = "The file \"%@\" is not an Outlook message.";
constexpr const char* kMailWithoutTNEFText =
    "The file \"%@\" is a mail without a TNEF part (winmail.dat); \"quillbox mime\" shows it.";
constexpr const char* kNotAMessageKindText = "The file \"%@\" is not an Outlook message: it is {}.";

// What the file is instead, as its format's description says it ("a Microsoft Word
// document").
std::string notAMessageText(const Bytes& data) {
    const QBFileFormat* format = QBFileFormat::fileFormatOfData(data);
    if (!format || format->description.empty() ||
        format->identifier == "com.microsoft.outlook.message")
        return localized(kNotAMessageText);
    const char first =
        static_cast<char>(std::tolower(static_cast<unsigned char>(format->description[0])));
    const char* article =
        std::string_view("aeiou").find(first) != std::string_view::npos ? "an" : "a";
    return fmt::format(fmt::runtime(localized(kNotAMessageKindText)),
                       fmt::format("{} {}", article, format->description));
}

Expected<OpenedMessage> openCompoundFile(const Bytes& data) {
    ReadError why;
    auto message = OXMessage::create(data, true, &why);
    if (message) return OpenedMessage{MessageFormat::MSG, std::move(message)};
    // A compound file that opens but holds no message is another document.
    if (auto root = CFBEntry::create(data); root && !OXMessage::holdsMessageProperties(*root)) {
        why.description = notAMessageText(data);
        why.offset.reset();
    }
    if (why.description.empty()) why.description = localized(kUnrecognizedText);
    return why;
}

bool hasTNEFSignature(const Bytes& data) {
    static constexpr std::string_view kSignature("\x78\x9f\x3e\x22", 4);
    return data.view().substr(0, kSignature.size()) == kSignature;
}

Expected<OpenedMessage> openTNEF(const Bytes& data, const Dictionary* mailHeaders) {
    TNEFError error;
    auto message = TNEFMessage::create(data, mailHeaders, &error);
    // Neither failure has a place: the data is empty, or no stream was found anywhere in it.
    if (!message) return ReadError{error.domain, error.code, error.description, std::nullopt};
    return OpenedMessage{MessageFormat::TNEF, std::move(message)};
}

// The first TNEF part of the mail, opened with the mail's headers so they stand in for the
// stream's own fields when the correlator matches. Further TNEF parts are named in warnings.
std::optional<Expected<OpenedMessage>> openMail(const Bytes& data) {
    const MimePartPtr root = mimePartsOfMail(data);
    const auto parts = tnefPartsOfMail(root);
    if (parts.empty()) {
        // A header block alone is no sign of a mail: TNEF data could start that way.
        if (!root) return std::nullopt;
        const auto& h = root->headers();
        if (!h.firstHeaderForKey("From") && !h.firstHeaderForKey("Content-Type") &&
            !h.firstHeaderForKey("MIME-Version"))
            return std::nullopt;
        return Expected<OpenedMessage>(ReadError{kOpenMessageErrorDomain,
                                                 kOpenMessageErrorMailWithoutTNEF,
                                                 localized(kMailWithoutTNEFText), std::nullopt});
    }
    // The decoded part owns a new buffer when it was Base64; the message's Bytes keep it.
    const auto content = parts.front()->decodedContent();
    const Dictionary headers = tnefHeaderDictionary(root);
    auto opened = openTNEF(content.value_or(Bytes()), &headers);
    if (opened)
        for (size_t i = 1; i < parts.size(); ++i)
            opened->message->report()->warn(
                fmt::format("a further TNEF part ({}) was not read", i + 1));
    return opened;
}

Expected<OpenedMessage> openByContent(const Bytes& data) {
    if (CFBEntry::hasSignature(data)) return openCompoundFile(data);
    if (!hasTNEFSignature(data) && looksLikeMail(data))
        if (auto mail = openMail(data)) return std::move(*mail);
    // Anything else is tried as TNEF, which also finds a stream embedded in other bytes.
    return openTNEF(data, nullptr);
}

}  // namespace

const char* formatName(MessageFormat format) {
    return format == MessageFormat::MSG ? "msg" : "tnef";
}

Expected<OpenedMessage> openMessage(Bytes data) {
    auto opened = openByContent(data);
    // A signed message's content is the MIME entity it carries: its bodies stand in where the
    // message has none of its own.
    if (opened) takeBodiesFromSignedContent(*opened->message);
    return opened;
}

Expected<Bytes> readInput(const std::string& path, uint64_t maxSize) {
    std::string text;
    int code = 0;
    auto data = readFileData(path, &text, &code, maxSize);
    if (!data) return ReadError{"POSIX", code, text, std::nullopt};
    return std::move(*data);
}

Expected<OpenedMessage> openMessageFile(const std::string& path, uint64_t maxSize) {
    auto data = readInput(path, maxSize);
    if (!data) return data.error();
    return openMessage(std::move(*data));
}

}  // namespace qb
