#include "support/FuzzTargets.h"

#include <algorithm>
#include <string>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CompoundFileCopy.h"
#include "exporters/CalendarRecurrence.h"
#include "exporters/CalendarTimeZone.h"
#include "exporters/HTMLNesting.h"
#include "exporters/TNEFMessageExporter.h"
#include "formats/Ole10Native.h"
#include "formats/QBFileFormat.h"
#include "mailkit/Base64.h"
#include "mailkit/EmailAddressParsing.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/MKEmailAddress.h"
#include "mailkit/MKMimeHeaders.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MimeEncoding.h"
#include "model/Address.h"
#include "model/AppointmentRecurrence.h"
#include "model/CompressedRTF.h"
#include "model/OneOffEntryID.h"
#include "model/TimeZoneDefinition.h"
#include "platform/ByteReader.h"
#include "richtext/HTMLFontSizes.h"
#include "richtext/HTMLStyledTextReader.h"
#include "richtext/RTFDocument.h"
#include "richtext/RTFEncapsulation.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"
#include "richtext/StyledTextRTFWriter.h"
#include "support/MessageWalker.h"
#include "tnef/TNEFMessage.h"

namespace qb::fuzz {

namespace {

constexpr std::string_view kCompoundFileSignature("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);

void exportAll(const std::shared_ptr<OutlookMessage>& m) {
    if (!m) return;
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822);
    (void)e->data();
    (void)e->metadataPlist().dump(-1, ' ', false, Dictionary::error_handler_t::replace);
    for (const auto* list : {&e->textExporters(), &e->attachmentExporters()})
        for (const auto& x : *list)
            (void)x->metadata();
}

}  // namespace

bool fuzzTNEF(const Bytes& input) {
    for (bool ignoreChecksum : {true, false}) {
        TNEFError error;
        if (auto m = TNEFMessage::create(input, nullptr, ignoreChecksum, &error))
            test::touchMessage(*m);
    }
    return true;
}

bool fuzzMsg(const Bytes& input) {
    if (auto root = CFBEntry::create(input)) {
        test::touchStorage(*root);
        // Whatever the reader makes of the input, copied and written again, must open, with
        // every entry the copy kept.
        if (auto copy = copyOfStorage(*root))
            if (auto written = writeCompoundFile(*copy)) {
                auto again = CFBEntry::create(*written);
                if (!again || again->entries().size() != copy->children.size()) return false;
            }
    }
    for (bool ignoreChecksum : {true, false})
        if (auto m = OXMessage::create(input, ignoreChecksum)) test::touchMessage(*m);
    return true;
}

bool fuzzRTF(const Bytes& input) {
    (void)decompressRTF(input, true);
    (void)decompressRTF(input, false);
    // With a consistent size field, so that the expander itself is reached.
    if (input.size() >= 16) {
        std::vector<uint8_t> fixed(input.begin(), input.end());
        const auto compSize = uint32_t(input.size() - 4);
        for (size_t i = 0; i < 4; ++i)
            fixed[i] = uint8_t(compSize >> (8 * i));
        fixed[8] = 'L', fixed[9] = 'Z', fixed[10] = 'F', fixed[11] = 'u';
        (void)decompressRTF(Bytes::adopt(std::move(fixed)), true);
    }
    return true;
}

bool fuzzRichText(const Bytes& input) {
    if (auto styled = readRTF(input)) {
        styled->changeFontByPointSize(2.0);
        (void)htmlOfStyledText(*styled);
        // What the writer makes must read again.
        const std::string rtf = rtfOfStyledText(*styled);
        if (!readRTF(Bytes::fromString(rtf))) return false;
    }
    (void)decapsulateRTF(input.view());
    (void)readHTML(input.view());
    if (auto doc = RTFDocument::create(input)) (void)doc->htmlData();
    return true;
}

bool fuzzMailkit(const Bytes& input) {
    const std::string_view s = input.view();
    (void)decodedMimeEncodedString(s);
    (void)stringWithMimeEncodedWord(s);
    (void)stringFromQuotedPrintableString(s, kUTF8Encoding);
    (void)decodedQuotedPrintableString(s, kWindowsCP1252Encoding);
    (void)htmlEncodedStringFromQuotedPrintableString(s, kShiftJISEncoding);
    (void)NewBase64Decode(s);
    (void)stringByConvertingLiteralsToBase64(s);
    (void)stringByDecodingHTMLEntities(s);
    (void)stringByEscapingForAsciiHTML(s);
    (void)emailAddressValidate(s);
    (void)MKEmailAddress::emailAddressesFromHeaderValue(s);
    (void)MKEmailAddress::fromCommentedAddress(s);
    (void)Address::addressesFormAttendeesString(std::string(s));
    MKMessageHeaders headers(s);
    (void)headers.addressListForKey("To");
    (void)headers.headerForKey("Subject");
    (void)mimeWordWithString(s, kISOLatin1Encoding);
    (void)quotedPrintableStringForPlainTextBody(s, 0);
    (void)MKMimeHeaders::mimeEncodedHeaderForKey("Subject", s, 0);
    (void)foldHeaderLine(s);
    return true;
}

bool fuzzFormats(const Bytes& input) {
    (void)QBFileFormat::fileFormatOfData(input);
    // The same bytes behind a ZIP and a compound-file signature reach the container readers.
    for (std::string_view prefix : {std::string_view("PK\x03\x04", 4), kCompoundFileSignature}) {
        std::string withPrefix(prefix);
        withPrefix.append(input.view());
        (void)QBFileFormat::fileFormatOfData(Bytes::fromString(withPrefix));
    }
    return true;
}

bool fuzzExport(const Bytes& input) {
    if (input.view().starts_with(kCompoundFileSignature))
        exportAll(OXMessage::create(input));
    else
        exportAll(TNEFMessage::create(input, nullptr, true, nullptr));
    // The HTML step on its own, with the input as markup.
    (void)htmlWithFontsEnlarged(input.view(), 2.0);
    // The nesting scan that decides whether the HTML step may read a body.
    (void)htmlNestsDeeperThan(input.view(), 8);
    return true;
}

bool fuzzRecords(const Bytes& input) {
    for (StringEncoding e : {kWindowsCP1252Encoding, kUTF8Encoding}) {
        (void)smtpAddressOfEntryID(input, e);
        if (auto package = readOle10Native(input, e)) (void)packageFilename(*package);
    }
    return true;
}

namespace {

// Calendar text is folded: every line at most 75 octets, every line ended by CR LF.
bool isFoldedCalendarText(std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find("\r\n");
        if (end == std::string_view::npos || end > 75) return false;
        text.remove_prefix(end + 2);
    }
    return true;
}

}  // namespace

bool fuzzCalendar(const Bytes& input) {
    // The whole input as each structure.
    (void)BinToTZREG(input);
    if (auto def = BinToTZDEFINITION(input))
        for (int64_t year : {0, 1601, 2024, 30827})
            if (const TimeZoneRule* rule = def->ruleForYear(year))
                (void)rule->offsetAtLocal(dateFromComponents(year, 6, 1, 0, 0, 0));
    if (auto r = readAppointmentRecurrence(input, kWindowsCP1252Encoding))
        (void)r->firstOccurrences(5);

    // Then a zone (its length in the first two bytes) in front of a recurrence, written out.
    ByteReader in(input);
    const uint16_t zoneLength = in.u16le().value_or(0);
    const Bytes zoneBytes = in.take(std::min<size_t>(zoneLength, in.remaining())).value_or(Bytes());
    const Bytes recurrenceBytes = in.rest();
    std::optional<TimeZoneRule> rule;
    std::string name = "Zone";
    if (auto def = BinToTZDEFINITION(zoneBytes)) {
        rule = *def->ruleForYear(2024);
        name = def->keyName;
    } else {
        rule = BinToTZREG(zoneBytes);
    }
    std::string text;
    std::optional<CalendarTimeZone> zone;
    if (rule) {
        zone.emplace(name, name, *rule, 2024);
        text += zone->vtimezone();
        (void)zone->utcTime(zone->localTime(dateFromComponents(2024, 3, 31, 1, 30, 0)));
    }
    if (auto r = readAppointmentRecurrence(recurrenceBytes, kUTF8Encoding)) {
        for (bool allDay : {false, true}) {
            SeriesContext series;
            series.zone = zone ? &*zone : nullptr;
            series.allDay = allDay;
            series.uid = "00";
            text += recurrenceRuleLines(*r, series);
            text += recurrenceExceptionEvents(*r, series);
        }
        (void)r->firstOccurrences(5);
    }
    return isFoldedCalendarText(text);
}

namespace {

struct Target {
    std::string_view name;
    bool (*body)(const Bytes&);
};

constexpr Target kTargets[] = {
    {"fuzz_tnef", fuzzTNEF},         {"fuzz_msg", fuzzMsg},         {"fuzz_rtf", fuzzRTF},
    {"fuzz_richtext", fuzzRichText}, {"fuzz_mailkit", fuzzMailkit}, {"fuzz_formats", fuzzFormats},
    {"fuzz_export", fuzzExport},     {"fuzz_records", fuzzRecords}, {"fuzz_calendar", fuzzCalendar},
};

}  // namespace

const std::vector<std::string_view>& targetNames() {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> out;
        for (const Target& t : kTargets)
            out.push_back(t.name);
        return out;
    }();
    return names;
}

std::optional<bool> runTarget(std::string_view name, const Bytes& input) {
    for (const Target& t : kTargets)
        if (t.name == name) return t.body(input);
    return std::nullopt;
}

}  // namespace qb::fuzz
