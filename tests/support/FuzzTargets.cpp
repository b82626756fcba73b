// SPDX-License-Identifier: Apache-2.0
#include "support/FuzzTargets.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <cstdlib>
#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "OXMSG/cfb/CompoundFileCopy.h"

#include "api/MailDate.h"
#include "api/MessageView.h"
#include "api/OpenMessage.h"
#include "api/SignedContent.h"
#include "api/TNEFInMail.h"
#include "exporters/CalendarRecurrence.h"
#include "exporters/CalendarTimeZone.h"
#include "exporters/HTMLNesting.h"
#include "exporters/TNEFMessageExporter.h"
#include "exporters/VCFExporter.h"
#include "formats/Ole10Native.h"
#include "formats/QBFileFormat.h"
#include "mailkit/Base64.h"
#include "mailkit/EmailAddressParsing.h"
#include "mailkit/HTMLEntities.h"
#include "mailkit/MKEmailAddress.h"
#include "mailkit/MKMimeHeaders.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MimeEncoding.h"
#include "mime/MimePart.h"
#include "mime/SelfContainedPage.h"
#include "model/Address.h"
#include "model/AppointmentRecurrence.h"
#include "model/CompressedRTF.h"
#include "model/OneOffEntryID.h"
#include "model/TimeZoneDefinition.h"
#include "modules/icons/MimeDatabase.h"
#include "platform/ByteReader.h"
#include "platform/PageRenderer.h"
#include "richtext/HTMLFontSizes.h"
#include "richtext/HTMLStyledTextReader.h"
#include "richtext/RTFDocument.h"
#include "richtext/RTFEncapsulation.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"
#include "richtext/StyledTextRTFWriter.h"
#include "support/ContactItems.h"
#include "support/MessageWalker.h"
#include "support/TNEFWriter.h"
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
    // The view of whatever was read: when there is one, it always has its frame.
    // Icons depend on no input byte but the extension; they are left out here.
    MessageViewOptions view;
    view.iconSource = nullptr;
    view.alertHTML = "<p>read in part</p>";
    auto page = messageViewHTML(TNEFMessageExporter::create(m, nullptr, ExportMode::Files), view);
    if (page && page->find("<div id=\"qbx-ql-inner-mail\">") == std::string::npos) std::abort();
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
    (void)parseMailDate(s);
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
    if (input.view().starts_with(kCompoundFileSignature) || looksLikeMail(input)) {
        // Through the front door, which opens the winmail.dat a mail carries and reads the
        // signed content of a signed message.
        if (auto opened = openMessage(input)) exportAll(opened->message);
    } else {
        exportAll(TNEFMessage::create(input, nullptr, true, nullptr));
    }
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

// A card's text is whole cards, one after the other; a 4.0 card's lines are CR LF ended, at
// most 75 octets long and valid UTF-8 (a fold never splits a character).
bool cardsAreWellFormed(std::string_view text, VCardVersion version) {
    if (!isValidUTF8(text)) return false;
    if (text.empty()) return true;
    const std::string_view end = version == VCardVersion::V21 ? "END:VCARD\n" : "END:VCARD\r\n";
    if (!text.starts_with("BEGIN:VCARD") || !text.ends_with(end)) return false;
    if (version == VCardVersion::V21) return true;
    for (size_t start = 0; start < text.size();) {
        const size_t crlf = text.find("\r\n", start);
        if (crlf == std::string_view::npos || crlf - start > 75) return false;
        const std::string_view line = text.substr(start, crlf - start);
        if (line.find('\r') != std::string_view::npos || line.find('\n') != std::string_view::npos)
            return false;
        start = crlf + 2;
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

// The input is cut into pieces, each a length byte and its bytes. The first byte chooses the
// code page and the string form; the pieces become a list's member entry ids, then a
// contact's strings and photo, both items read back through the TNEF reader.
bool fuzzVCF(const Bytes& input) {
    for (StringEncoding e : {kWindowsCP1252Encoding, kUTF8Encoding, kShiftJISEncoding}) {
        (void)readOneOffMember(input, e);
        for (bool unicode : {false, true}) {
            std::optional<std::string> text;
            const size_t used = bin_decode_string(input, text, unicode, e);
            if (used > input.size()) return false;
        }
    }
    if (input.empty()) return true;
    const uint8_t choice = input[0];
    std::vector<std::string> pieces;
    for (size_t at = 1; at < input.size();) {
        const size_t n = input[at];
        pieces.push_back(input.slice(at + 1, n).str());
        at += 1 + n;
    }
    const uint32_t codePage = (choice & 3) == 0 ? 1252 : (choice & 3) == 1 ? 1251 : 932;
    const bool unicode = choice & 4;

    test::PropsWriter list;
    list.u32(0x3FFD, codePage).rawRecord(test::oneOffMembersRecord(pieces));

    static constexpr uint16_t kStringIds[] = {
        0x3A11, 0x3A06, 0x3A44, 0x3A45, 0x3A05, 0x3001, 0x3A16, 0x3A17, 0x3A09, 0x3A2F, 0x3A25,
        0x3A08, 0x3A1B, 0x3A24, 0x3A1C, 0x3A1E, 0x3A02, 0x3A1F, 0x3A21, 0x8083, 0x8093, 0x80A3,
        0x8080, 0x3A2B, 0x3A29, 0x3A27, 0x3A28, 0x3A2A, 0x3A26, 0x1000, 0x3A50, 0x3A51};
    test::PropsWriter contact;
    contact.u32(0x3FFD, codePage);
    for (size_t i = 0; i < pieces.size() && i < std::size(kStringIds); ++i) {
        // The e-mail addresses and their names are named properties.
        if (kStringIds[i] >= 0x8000)
            test::addressString(contact, uint16_t(0x8000 + i), kStringIds[i], pieces[i]);
        else if (unicode)
            contact.prop(0x001F, kStringIds[i], test::PropsWriter::counted(pieces[i]));
        else
            contact.string8(kStringIds[i], pieces[i]);
    }
    contact.systime(0x3A42, uint64_t(choice) << 52 | 0x0123456789ULL);
    test::PropsWriter photo;
    photo.boolean(0x7FFF, true);
    const std::string photoData = "\xFF\xD8\xFF" + (pieces.empty() ? "" : pieces.back());

    for (const char* cls : {"IPM.DistList", "IPM.Contact"}) {
        test::TNEFWriter w;
        w.version().oemCodepage(codePage).messageClass(cls);
        w.mapiProps(std::string_view(cls) == "IPM.DistList" ? list : contact);
        w.attachment("ContactPicture.jpg", photoData, &photo);
        auto message = test::readTNEF(w.str());
        if (!message) continue;
        for (VCardVersion v : {VCardVersion::V21, VCardVersion::V40}) {
            auto card = VCFExporter::create(message, v);
            if (!card || !card->data() || !cardsAreWellFormed(card->data()->view(), v))
                return false;
        }
    }
    return true;
}

bool fuzzMimeGlobs(const Bytes& input) {
    // The globs file up to the first NUL byte, the generic icons after it.
    std::string_view text = input.view();
    size_t nul = text.find('\0');
    std::string_view globs = text.substr(0, nul);
    std::string_view generic = nul == std::string_view::npos ? "" : text.substr(nul + 1);
    auto db = MimeDatabase::parse(globs, generic);
    std::string tail(text.substr(text.size() - std::min<size_t>(text.size(), 24)));
    for (std::string_view name :
         {std::string_view("a.pdf"), std::string_view("Makefile"), std::string_view("x.tar.gz"),
          std::string_view("lib.so.1"), std::string_view(tail)}) {
        std::string type = db.mediaType(name);
        if (type.find('/') == std::string::npos) return false;
        if (db.genericIcon(type).find('/') != std::string::npos) return false;
    }
    return true;
}

bool fuzzPDFPage(const Bytes& input) {
    for (int maxWidth : {500, 37}) {
        auto page = renderFirstPDFPage(input, maxWidth);
        if (page && (page->width <= 0 || page->width > maxWidth || page->height <= 0 ||
                     page->png.size() < 8 || page->png.view().substr(1, 3) != "PNG"))
            return false;
    }
    return true;
}

namespace {

// The depth of a part tree and its number of parts, walked with an explicit stack.
std::pair<size_t, size_t> treeShape(const MimePartPtr& root) {
    size_t deepest = 0, count = 0;
    std::vector<std::pair<const MimePart*, size_t>> stack{{root.get(), 1}};
    while (!stack.empty()) {
        auto [part, depth] = stack.back();
        stack.pop_back();
        ++count;
        deepest = std::max(deepest, depth);
        for (const auto& child : part->subParts())
            stack.push_back({child.get(), depth + 1});
    }
    return {deepest, count};
}

}  // namespace

bool fuzzMime(const Bytes& input) {
    auto root = MimePart::mimePartForData(input);
    if (!root) return false;
    const auto [depth, count] = treeShape(root);
    if (depth > size_t(kMaxMimeNesting) + 1 || count > kMaxMimeParts + 1) return false;
    auto resources = root->webArchiveResources();
    if (auto page = root->webArchiveData()) {
        // Every resource the page names comes back as a data: URI.
        const std::string inlined = pageWithResourceURLs(
            *page, resources,
            [](const WebResource& r) { return std::optional<std::string>(dataURIForResource(r)); });
        if (resources.empty() && inlined != *page) return false;
    }
    for (const auto& a : root->attachments())
        (void)a->filename();
    (void)root->plainContent();
    (void)root->htmlContent();
    (void)root->base64Data();
    (void)root->description();
    for (const auto& r : resources)
        if (!r.url.starts_with("cid:")) return false;
    // The same bytes as the signed entity of a message: whatever bodies it gives are UTF-8.
    if (auto bodies = bodiesOfMimeEntity(input))
        for (const auto* body : {&bodies->plain, &bodies->html})
            if (*body && !isValidUTF8(**body)) return false;
    return true;
}

namespace {

struct Target {
    std::string_view name;
    bool (*body)(const Bytes&);
};

constexpr Target kTargets[] = {
    {"fuzz_tnef", fuzzTNEF},
    {"fuzz_msg", fuzzMsg},
    {"fuzz_rtf", fuzzRTF},
    {"fuzz_richtext", fuzzRichText},
    {"fuzz_mailkit", fuzzMailkit},
    {"fuzz_formats", fuzzFormats},
    {"fuzz_export", fuzzExport},
    {"fuzz_records", fuzzRecords},
    {"fuzz_calendar", fuzzCalendar},
    {"fuzz_vcf", fuzzVCF},
    {"fuzz_mimeglobs", fuzzMimeGlobs},
    {"fuzz_pdf", fuzzPDFPage},
    {"fuzz_mime", fuzzMime},
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
