// SPDX-License-Identifier: Apache-2.0
// The table of encodings we convert (code, Windows code page, IANA name, ICU converter) and
// the ICU calls behind it; valid UTF-8 and UTF-16LE bypass ICU's converters.
#include "platform/StringEncoding.h"
#include "platform/AsciiCase.h"

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <memory>
#include <vector>

namespace qb {

namespace {

constexpr StringEncoding cf(uint32_t code) {
    return 0x80000000ull | code;
}

struct EncodingRow {
    StringEncoding code;
    uint32_t codePage;  // 0: no Windows code page of its own
    const char* iana;
    const char* icu;
};

// The first row for a code page wins in code page -> encoding; the first row for an encoding
// gives its IANA name and converter.
const EncodingRow kRows[] = {
    {kASCIIEncoding, 20127, "us-ascii", "US-ASCII"},
    {kUTF8Encoding, 65001, "utf-8", "UTF-8"},
    {kISOLatin1Encoding, 28591, "iso-8859-1", "ISO-8859-1"},
    {kISOLatin2Encoding, 28592, "iso-8859-2", "ISO-8859-2"},
    {cf(0x0203), 28593, "iso-8859-3", "ISO-8859-3"},
    {cf(0x0204), 28594, "iso-8859-4", "ISO-8859-4"},
    {cf(0x0205), 28595, "iso-8859-5", "ISO-8859-5"},
    {cf(0x0206), 28596, "iso-8859-6", "ISO-8859-6"},
    {cf(0x0207), 28597, "iso-8859-7", "ISO-8859-7"},
    {cf(0x0208), 28598, "iso-8859-8", "ISO-8859-8"},
    {cf(0x0208), 38598, "iso-8859-8", "ISO-8859-8"},
    {cf(0x0209), 28599, "iso-8859-9", "ISO-8859-9"},
    {cf(0x020A), 0, "iso-8859-10", "ISO-8859-10"},
    {cf(0x020B), 0, "iso-8859-11", "ISO-8859-11"},
    {cf(0x020D), 28603, "iso-8859-13", "ISO-8859-13"},
    {cf(0x020E), 0, "iso-8859-14", "ISO-8859-14"},
    {cf(0x020F), 28605, "iso-8859-15", "ISO-8859-15"},
    {kUTF16Encoding, 0, "utf-16", "UTF-16"},
    {kUTF16LEEncoding, 1200, "utf-16le", "UTF-16LE"},
    {kUTF16BEEncoding, 1201, "utf-16be", "UTF-16BE"},
    {0x8c000100, 12000, "utf-32", "UTF-32"},
    {cf(0x04000100), 65000, "utf-7", "UTF-7"},
    {kWindowsCP1250Encoding, 1250, "windows-1250", "windows-1250"},
    {kWindowsCP1251Encoding, 1251, "windows-1251", "windows-1251"},
    {kWindowsCP1252Encoding, 1252, "windows-1252", "windows-1252"},
    {kWindowsCP1253Encoding, 1253, "windows-1253", "windows-1253"},
    {kWindowsCP1254Encoding, 1254, "windows-1254", "windows-1254"},
    {cf(0x0505), 1255, "windows-1255", "windows-1255"},
    {cf(0x0506), 1256, "windows-1256", "windows-1256"},
    {cf(0x0507), 1257, "windows-1257", "windows-1257"},
    {cf(0x0508), 1258, "windows-1258", "windows-1258"},
    {cf(0x041D), 874, "windows-874", "windows-874"},
    {cf(0x020B), 28601, "iso-8859-11", "ISO-8859-11"},
    {cf(0x0420), 932, "cp932", "cp932"},
    {kShiftJISEncoding, 0, "shift_jis", "Shift_JIS"},
    {cf(0x0421), 936, "gbk", "GBK"},
    {cf(0x0422), 949, "ks_c_5601-1987", "windows-949"},
    {cf(0x0423), 950, "big5", "Big5"},
    {cf(0x0A06), 951, "big5-hkscs", "Big5-HKSCS"},
    {kJapaneseEUCEncoding, 51932, "euc-jp", "EUC-JP"},
    {kJapaneseEUCEncoding, 20932, "euc-jp", "EUC-JP"},
    {cf(0x0940), 51949, "euc-kr", "EUC-KR"},
    {cf(0x0930), 20936, "gb2312", "GB2312"},
    {cf(0x0930), 51936, "gb2312", "GB2312"},
    {cf(0x0632), 54936, "gb18030", "GB18030"},
    {cf(0x0A05), 52936, "hz-gb-2312", "HZ-GB-2312"},
    {kISO2022JPEncoding, 50220, "iso-2022-jp", "ISO-2022-JP"},
    {kISO2022JPEncoding, 50221, "iso-2022-jp", "ISO-2022-JP"},
    {kISO2022JPEncoding, 50222, "iso-2022-jp", "ISO-2022-JP"},
    {cf(0x0840), 50225, "iso-2022-kr", "ISO-2022-KR"},
    {cf(0x0830), 50227, "iso-2022-cn", "ISO-2022-CN"},
    {cf(0x0A02), 20866, "koi8-r", "KOI8-R"},
    {cf(0x0A08), 21866, "koi8-u", "KOI8-U"},
    {kMacRomanEncoding, 10000, "macintosh", "macintosh"},
    {cf(0x0007), 10007, "x-mac-cyrillic", "x-mac-cyrillic"},
    {cf(0x001D), 10029, "x-mac-centraleurroman", "x-mac-centraleurroman"},
    {cf(0x0006), 10006, "x-mac-greek", "x-mac-greek"},
    {cf(0x0023), 10081, "x-mac-turkish", "x-mac-turkish"},
    {cf(0x0400), 437, "ibm437", "IBM437"},
    {cf(0x0405), 737, "ibm737", "cp737"},
    {cf(0x0406), 775, "ibm775", "cp775"},
    {cf(0x0410), 850, "ibm850", "cp850"},
    {cf(0x0412), 852, "ibm852", "cp852"},
    {cf(0x0413), 855, "ibm855", "cp855"},
    {cf(0x0414), 857, "ibm857", "cp857"},
    {cf(0x0415), 860, "ibm860", "cp860"},
    {cf(0x0416), 861, "ibm861", "cp861"},
    {cf(0x0417), 862, "ibm862", "cp862"},
    {cf(0x0418), 863, "ibm863", "cp863"},
    {cf(0x0419), 864, "ibm864", "cp864"},
    {cf(0x041A), 865, "ibm865", "cp865"},
    {cf(0x041B), 866, "ibm866", "cp866"},
    {cf(0x041C), 869, "ibm869", "cp869"},
};

const EncodingRow* rowForEncoding(StringEncoding e) {
    for (const auto& r : kRows)
        if (r.code == e) return &r;
    return nullptr;
}

struct ConverterCloser {
    void operator()(UConverter* c) const { ucnv_close(c); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

Converter openConverter(StringEncoding e) {
    const EncodingRow* row = rowForEncoding(e);
    if (!row) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    Converter c(ucnv_open(row->icu, &status));
    if (U_FAILURE(status)) return nullptr;
    return c;
}

// Converts UTF-16 code units to UTF-8, replacing unpaired surrogates.
std::string utf16UnitsToUTF8(const char16_t* units, size_t count) {
    std::string out;
    icu::UnicodeString(false, units, static_cast<int32_t>(count)).toUTF8String(out);
    return out;
}

}  // namespace

bool isKnownEncoding(StringEncoding encoding) {
    return rowForEncoding(encoding) != nullptr;
}

StringEncoding encodingForWindowsCodePage(uint32_t codePage) {
    for (const auto& r : kRows)
        if (r.codePage == codePage && codePage != 0) return r.code;
    return kInvalidEncoding;
}

std::optional<uint32_t> windowsCodePageForEncoding(StringEncoding encoding) {
    for (const auto& r : kRows)
        if (r.code == encoding && r.codePage != 0) return r.codePage;
    return std::nullopt;
}

std::string ianaNameForEncoding(StringEncoding encoding) {
    const EncodingRow* row = rowForEncoding(encoding);
    return row ? row->iana : "";
}

StringEncoding encodingForIANAName(std::string_view name) {
    std::string wanted = lowercasedASCII(name);
    if (wanted.empty()) return kInvalidEncoding;
    for (const auto& r : kRows)
        if (wanted == r.iana) return r.code;
    // An alias: compare ICU's canonical converter names.
    UErrorCode status = U_ZERO_ERROR;
    const char* canonical = ucnv_getAlias(wanted.c_str(), 0, &status);
    if (U_FAILURE(status) || !canonical) return kInvalidEncoding;
    for (const auto& r : kRows) {
        status = U_ZERO_ERROR;
        const char* rowCanonical = ucnv_getAlias(r.icu, 0, &status);
        if (U_SUCCESS(status) && rowCanonical && std::strcmp(rowCanonical, canonical) == 0)
            return r.code;
    }
    return kInvalidEncoding;
}

std::optional<std::string> decodeString(std::span<const uint8_t> bytes, StringEncoding encoding,
                                        bool lossy) {
    if (encoding == kUTF8Encoding &&
        isValidUTF8({reinterpret_cast<const char*>(bytes.data()), bytes.size()}))
        return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (encoding == kUTF16LEEncoding) {
        if (!lossy && bytes.size() % 2) return std::nullopt;
        return utf16leToUTF8(bytes);
    }
    Converter conv = openConverter(encoding);
    if (!conv) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    if (!lossy) {
        ucnv_setToUCallBack(conv.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
    } else {
        ucnv_setToUCallBack(conv.get(), UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr,
                            &status);
    }
    if (bytes.size() > INT32_MAX / 2) return std::nullopt;
    // A byte never makes more than two UTF-16 units in any of our encodings.
    std::vector<char16_t> units(bytes.size() * 2 + 2);
    status = U_ZERO_ERROR;
    int32_t n = ucnv_toUChars(conv.get(), units.data(), static_cast<int32_t>(units.size()),
                              reinterpret_cast<const char*>(bytes.data()),
                              static_cast<int32_t>(bytes.size()), &status);
    if (U_FAILURE(status)) return std::nullopt;
    return utf16UnitsToUTF8(units.data(), static_cast<size_t>(n));
}

std::optional<std::string> decodeMessageText(std::span<const uint8_t> bytes,
                                             StringEncoding encoding) {
    if (auto strict = decodeString(bytes, encoding, false)) return strict;
    if (encoding == kUTF8Encoding) return decodeString(bytes, kWindowsCP1252Encoding, true);
    return decodeString(bytes, encoding, true);
}

std::optional<std::string> encodeString(std::string_view utf8, StringEncoding encoding,
                                        bool lossy) {
    if (!isValidUTF8(utf8)) return std::nullopt;
    if (encoding == kUTF8Encoding) return std::string(utf8);
    if (encoding == kUTF16LEEncoding) return utf8ToUTF16LE(utf8);
    Converter conv = openConverter(encoding);
    if (!conv) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(conv.get(),
                          lossy ? UCNV_FROM_U_CALLBACK_SUBSTITUTE : UCNV_FROM_U_CALLBACK_STOP,
                          nullptr, nullptr, nullptr, &status);
    if (utf8.size() > INT32_MAX / 8) return std::nullopt;
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    // Stateful encodings (ISO-2022) add escape sequences; leave generous room.
    std::string out(static_cast<size_t>(text.length()) * 8 + 16, '\0');
    status = U_ZERO_ERROR;
    int32_t n = ucnv_fromUChars(conv.get(), out.data(), static_cast<int32_t>(out.size()),
                                text.getBuffer(), text.length(), &status);
    if (U_FAILURE(status)) return std::nullopt;
    out.resize(static_cast<size_t>(n));
    return out;
}

bool canConvertLosslessly(std::string_view utf8, StringEncoding encoding) {
    auto encoded = encodeString(utf8, encoding, false);
    if (!encoded) return false;
    auto back = decodeString(*encoded, encoding, false);
    return back && *back == utf8;
}

std::string utf16leToUTF8(std::span<const uint8_t> bytes) {
    std::vector<char16_t> units(bytes.size() / 2);
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<char16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
    return utf16UnitsToUTF8(units.data(), units.size());
}

std::string utf8ToUTF16LE(std::string_view utf8) {
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    std::string out;
    out.reserve(static_cast<size_t>(text.length()) * 2);
    for (int32_t i = 0; i < text.length(); ++i) {
        char16_t u = text.charAt(i);
        out.push_back(static_cast<char>(u & 0xFF));
        out.push_back(static_cast<char>(u >> 8));
    }
    return out;
}

bool isValidUTF8(std::string_view s) {
    size_t i = 0, n = s.size();
    while (i < n) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            ++i;
            continue;
        }
        size_t len;
        uint32_t cp;
        if (c >= 0xC2 && c <= 0xDF) {
            len = 2;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            len = 3;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            len = 4;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (n - i < len) return false;
        for (size_t k = 1; k < len; ++k) {
            unsigned char cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
            (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += len;
    }
    return true;
}

size_t codePointCount(std::string_view utf8) {
    return static_cast<size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

}  // namespace qb
