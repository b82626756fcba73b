// SPDX-License-Identifier: Apache-2.0
// Format dispatch for every program built on the library: the compound-file signature picks
// the .msg reader, anything else is tried as TNEF.
#include "api/OpenMessage.h"

#include <fmt/format.h>

#include <cctype>
#include <string_view>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "formats/QBFileFormat.h"
#include "platform/Localized.h"
#include "tnef/TNEFMessage.h"

namespace qb {

namespace {

constexpr const char* kUnrecognizedText =
    "It may be damaged or use a file format that Quillbox doesn't recognize.";
constexpr const char* kNotAMessageText = "The file \"%@\" is not an Outlook message.";
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

}  // namespace

const char* formatName(MessageFormat format) {
    return format == MessageFormat::MSG ? "msg" : "tnef";
}

Expected<OpenedMessage> openMessage(Bytes data) {
    if (CFBEntry::hasSignature(data)) return openCompoundFile(data);
    // Anything that is not a compound file is tried as TNEF, which also finds a stream
    // embedded in other bytes.
    TNEFError error;
    auto message = TNEFMessage::create(data, nullptr, &error);
    // Neither failure has a place: the data is empty, or no stream was found anywhere in it.
    if (!message) return ReadError{error.domain, error.code, error.description, std::nullopt};
    return OpenedMessage{MessageFormat::TNEF, std::move(message)};
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
