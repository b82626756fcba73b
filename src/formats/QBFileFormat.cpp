// SPDX-License-Identifier: Apache-2.0
// The table itself and signature detection; ZIP and compound files are told apart further
// by the names of the entries inside them.
#include "formats/QBFileFormat.h"

#include <algorithm>
#include <cctype>

#include "formats/ContainerEntries.h"
#include "platform/ByteReader.h"
#include "platform/ContainerSignatures.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

QBFileFormat format(std::string id, std::string description, std::vector<std::string> mime,
                    std::vector<std::string> extensions) {
    return QBFileFormat{std::move(id), std::move(description), std::move(mime),
                        std::move(extensions)};
}

bool startsWith(const Bytes& data, std::string_view prefix, size_t offset = 0) {
    return offset <= data.size() && data.view().substr(offset).starts_with(prefix);
}

// The header of an icon or cursor file.
constexpr Field kIconReserved{0, 2};
constexpr Field kIconType{2, 2};  // 1 icon, 2 cursor
constexpr Field kIconCount{4, 2};

// Whether `needle` occurs in the first `limit` bytes.
bool contains(const Bytes& data, std::string_view needle, size_t limit) {
    const std::string_view head = data.view().substr(0, limit);
    return head.find(needle) != std::string_view::npos;
}

bool hasEntry(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// A message: its first line is a header field that mail starts with.
bool looksLikeMessage(const Bytes& data) {
    static const char* const kFields[] = {
        "received:",     "return-path:",      "from:",    "mime-version:",
        "date:",         "message-id:",       "subject:", "to:",
        "delivered-to:", "x-mozilla-status:", "reply-to:"};
    const std::string head = lowercasedASCII(data.view().substr(0, 64));
    return std::any_of(std::begin(kFields), std::end(kFields),
                       [&](const char* f) { return head.starts_with(f); });
}

}  // namespace

const std::vector<QBFileFormat>& QBFileFormat::allFormats() {
    static const std::vector<QBFileFormat> formats = {
        format("com.microsoft.tnef", "TNEF message (winmail.dat)",
               {"application/ms-tnef", "application/vnd.ms-tnef"}, {"dat", "tnef"}),
        format("com.microsoft.outlook.message", "Outlook message", {"application/vnd.ms-outlook"},
               {"msg"}),
        format("com.adobe.pdf", "PDF document", {"application/pdf"}, {"pdf"}),
        format("com.adobe.illustrator.ai-image", "Adobe Illustrator document",
               {"application/illustrator", "application/postscript"}, {"ai"}),
        format("com.adobe.postscript", "PostScript document", {"application/postscript"},
               {"ps", "eps"}),
        format("com.microsoft.word.doc", "Microsoft Word document", {"application/msword"},
               {"doc", "dot"}),
        format("com.microsoft.excel.xls", "Microsoft Excel workbook", {"application/vnd.ms-excel"},
               {"xls", "xlt"}),
        format("com.microsoft.powerpoint.ppt", "Microsoft PowerPoint presentation",
               {"application/vnd.ms-powerpoint"}, {"ppt", "pps", "pot"}),
        format("org.openxmlformats.wordprocessingml.document", "Word document",
               {"application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
               {"docx"}),
        format("org.openxmlformats.spreadsheetml.sheet", "Excel workbook",
               {"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"}, {"xlsx"}),
        format("org.openxmlformats.presentationml.presentation", "PowerPoint presentation",
               {"application/vnd.openxmlformats-officedocument.presentationml.presentation"},
               {"pptx"}),
        format("com.microsoft.xps", "XPS document",
               {"application/vnd.ms-xpsdocument", "application/oxps"}, {"xps", "oxps"}),
        format("com.microsoft.ole.storage", "Compound file", {"application/x-ole-storage"},
               {"cfb"}),
        format("public.zip-archive", "ZIP archive", {"application/zip"}, {"zip"}),
        format("public.rtf", "Rich text document", {"application/rtf", "text/rtf"}, {"rtf"}),
        format("public.tiff", "TIFF image", {"image/tiff"}, {"tiff", "tif"}),
        format("public.jpeg", "JPEG image", {"image/jpeg"}, {"jpg", "jpeg", "jpe"}),
        format("public.jpeg-2000", "JPEG 2000 image", {"image/jp2"}, {"jp2", "j2k", "jpf"}),
        format("com.compuserve.gif", "GIF image", {"image/gif"}, {"gif"}),
        format("public.png", "PNG image", {"image/png"}, {"png"}),
        format("com.microsoft.bmp", "Windows bitmap image", {"image/bmp"}, {"bmp", "dib"}),
        format("com.microsoft.ico", "Windows icon", {"image/vnd.microsoft.icon", "image/x-icon"},
               {"ico"}),
        format("com.microsoft.cur", "Windows cursor", {"image/x-win-bitmap"}, {"cur"}),
        format("com.microsoft.wmf", "Windows metafile", {"image/wmf", "image/x-wmf"}, {"wmf"}),
        format("com.adobe.photoshop-image", "Photoshop image", {"image/vnd.adobe.photoshop"},
               {"psd"}),
        format("com.apple.ical.ics", "Calendar (iCalendar)", {"text/calendar"}, {"ics"}),
        format("public.vcard", "Contact card (vCard)", {"text/vcard", "text/x-vcard"}, {"vcf"}),
        format("com.apple.mail.email", "E-mail message", {"message/rfc822"}, {"eml"}),
    };
    return formats;
}

const QBFileFormat* QBFileFormat::formatWithIdentifier(std::string_view identifier) {
    for (const auto& f : allFormats())
        if (f.identifier == identifier) return &f;
    return nullptr;
}

const QBFileFormat* QBFileFormat::fileFormatForExtension(std::string_view extension) {
    if (!extension.empty() && extension.front() == '.') extension.remove_prefix(1);
    const std::string ext = lowercasedASCII(extension);
    if (ext.empty()) return nullptr;
    for (const auto& f : allFormats())
        if (std::find(f.extensions.begin(), f.extensions.end(), ext) != f.extensions.end())
            return &f;
    return nullptr;
}

const QBFileFormat* QBFileFormat::fileFormatForMIMEType(std::string_view mimeType) {
    const std::string type = lowercasedASCII(mimeType.substr(0, mimeType.find(';')));
    for (const auto& f : allFormats())
        if (std::find(f.mimeTypes.begin(), f.mimeTypes.end(), type) != f.mimeTypes.end()) return &f;
    return nullptr;
}

const QBFileFormat* QBFileFormat::fileFormatOfData(const Bytes& d) {
    auto id = [](std::string_view name) { return formatWithIdentifier(name); };
    if (startsWith(d, kTNEFSignatureBytes)) return id("com.microsoft.tnef");
    if (startsWith(d, kCompoundFileSignatureBytes)) {
        const auto names = compoundFileEntryNames(d);
        if (hasEntry(names, msgnames::kPropertiesStream) ||
            std::any_of(names.begin(), names.end(), [](const std::string& n) {
                return n.starts_with(msgnames::kSubstgPrefix);
            }))
            return id("com.microsoft.outlook.message");
        if (hasEntry(names, "WordDocument")) return id("com.microsoft.word.doc");
        if (hasEntry(names, "Workbook") || hasEntry(names, "Book"))
            return id("com.microsoft.excel.xls");
        if (hasEntry(names, "PowerPoint Document")) return id("com.microsoft.powerpoint.ppt");
        return id("com.microsoft.ole.storage");
    }
    if (startsWith(d, "PK\x03\x04") || startsWith(d, "PK\x05\x06")) {
        const auto names = zipEntryNames(d);
        if (hasEntry(names, "word/document.xml"))
            return id("org.openxmlformats.wordprocessingml.document");
        if (hasEntry(names, "xl/workbook.xml")) return id("org.openxmlformats.spreadsheetml.sheet");
        if (hasEntry(names, "ppt/presentation.xml"))
            return id("org.openxmlformats.presentationml.presentation");
        if (hasEntry(names, "FixedDocumentSequence.fdseq") || hasEntry(names, "FixedDocSeq.fdseq"))
            return id("com.microsoft.xps");
        return id("public.zip-archive");
    }
    if (startsWith(d, "%PDF-")) {
        // Illustrator saves PDF with its own private data.
        return contains(d, "Adobe Illustrator", 4096) || contains(d, "<illustrator:", 65536)
                   ? id("com.adobe.illustrator.ai-image")
                   : id("com.adobe.pdf");
    }
    if (startsWith(d, "%!PS") || startsWith(d, "\xC5\xD0\xD3\xC6")) {
        return contains(d, "%%Creator: Adobe Illustrator", 1024)
                   ? id("com.adobe.illustrator.ai-image")
                   : id("com.adobe.postscript");
    }
    if (startsWith(d, "{\\rtf")) return id("public.rtf");
    if (startsWith(d, std::string_view("II*\0", 4)) || startsWith(d, std::string_view("MM\0*", 4)))
        return id("public.tiff");
    if (startsWith(d, "\xFF\xD8\xFF")) return id("public.jpeg");
    if (startsWith(d, std::string_view("\x00\x00\x00\x0C\x6A\x50\x20\x20\x0D\x0A\x87\x0A", 12)) ||
        startsWith(d, "\xFF\x4F\xFF\x51"))
        return id("public.jpeg-2000");
    if (startsWith(d, "GIF87a") || startsWith(d, "GIF89a")) return id("com.compuserve.gif");
    if (startsWith(d, "\x89PNG\r\n\x1A\n")) return id("public.png");
    // "BM", then the file size, then two reserved words of zero.
    if (startsWith(d, "BM") && startsWith(d, std::string_view("\0\0\0\0", 4), 6))
        return id("com.microsoft.bmp");
    if (ByteReader::uintLE(d, kIconReserved) == 0u && ByteReader::uintLE(d, kIconCount) > 0u) {
        if (ByteReader::uintLE(d, kIconType) == 1u) return id("com.microsoft.ico");
        if (ByteReader::uintLE(d, kIconType) == 2u) return id("com.microsoft.cur");
    }
    if (startsWith(d, "\xD7\xCD\xC6\x9A") ||
        startsWith(d, std::string_view("\x01\x00\x09\x00\x00\x03", 6)) ||
        startsWith(d, std::string_view("\x02\x00\x09\x00\x00\x03", 6)))
        return id("com.microsoft.wmf");
    if (startsWith(d, "8BPS")) return id("com.adobe.photoshop-image");
    if (startsWith(d, "BEGIN:VCALENDAR")) return id("com.apple.ical.ics");
    if (startsWith(d, "BEGIN:VCARD")) return id("public.vcard");
    if (looksLikeMessage(d)) return id("com.apple.mail.email");
    return nullptr;
}

const QBFileFormat* QBFileFormat::fileFormatOfData(const Bytes& data, std::string_view fileName) {
    if (const QBFileFormat* f = fileFormatOfData(data)) return f;
    const size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    return fileFormatForExtension(fileName.substr(dot + 1));
}

}  // namespace qb
