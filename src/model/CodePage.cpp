// SPDX-License-Identifier: Apache-2.0
// The language and charset tables behind the choice, and the check that overrules a UTF-8
// label when the stored 8-bit strings are not valid UTF-8.
#include "model/CodePage.h"

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

namespace {

constexpr uint32_t kUTF8CodePage = 65001;
constexpr uint32_t kWestern = 1252;

// Primary language id (low ten bits of an LCID) → ANSI code page, where it is not 1252.
struct LanguageRow {
    uint16_t language;
    uint16_t codePage;
};
constexpr LanguageRow kLanguages[] = {
    // Cyrillic
    {0x02, 1251},
    {0x19, 1251},
    {0x22, 1251},
    {0x23, 1251},
    {0x28, 1251},
    {0x2F, 1251},
    {0x3F, 1251},
    {0x40, 1251},
    {0x44, 1251},
    {0x50, 1251},
    {0x6D, 1251},
    {0x85, 1251},
    // Central European
    {0x05, 1250},
    {0x0E, 1250},
    {0x15, 1250},
    {0x18, 1250},
    {0x1B, 1250},
    {0x1C, 1250},
    {0x24, 1250},
    {0x42, 1250},
    // Greek, Turkish and Azeri, Hebrew and Yiddish
    {0x08, 1253},
    {0x1F, 1254},
    {0x2C, 1254},
    {0x0D, 1255},
    {0x3D, 1255},
    // Arabic scripts: Arabic, Urdu, Persian, Pashto, Uyghur, Dari, Central Kurdish
    {0x01, 1256},
    {0x20, 1256},
    {0x29, 1256},
    {0x63, 1256},
    {0x80, 1256},
    {0x8C, 1256},
    {0x92, 1256},
    // Baltic
    {0x25, 1257},
    {0x26, 1257},
    {0x27, 1257},
    // Vietnamese, Thai, East Asian
    {0x2A, 1258},
    {0x1E, 874},
    {0x11, 932},
    {0x12, 949},
};

// Full LCIDs whose script differs from their language's usual one.
constexpr LanguageRow kLocales[] = {
    {0x0804, 936},  {0x1004, 936},  {0x0404, 950},  {0x0C04, 950},  {0x1404, 950},  // Chinese
    {0x0C1A, 1251}, {0x201A, 1251}, {0x1C1A, 1251},                                 // Cyrillic
    {0x041A, 1250}, {0x081A, 1250}, {0x101A, 1250}, {0x141A, 1250},                 // Latin
    {0x082C, 1251}, {0x0843, 1251}, {0x0443, 1254},                                 // Azeri, Uzbek
};

// Labels for text that the Windows code page of the same script reads correctly.
struct LabelRow {
    uint32_t label;
    uint32_t codePage;
};
constexpr LabelRow kLabels[] = {
    {50220, 932},  {50221, 932},  {50222, 932},  {51932, 932},  {20932, 932},
    {52936, 936},  {51936, 936},  {20936, 936},  {50227, 936},  {50225, 949},
    {51949, 949},  {51950, 950},  {20866, 1251}, {21866, 1251}, {28595, 1251},
    {28592, 1250}, {28597, 1253}, {28599, 1254}, {28598, 1255}, {38598, 1255},
    {28596, 1256}, {28594, 1257}, {28603, 1257}, {28591, 1252}, {20127, 1252},
};

bool holdsBytes(uint32_t codePage) {
    if (codePage == kUTF8CodePage) return true;
    const StringEncoding e = encodingForWindowsCodePage(codePage);
    return e != kInvalidEncoding && e != kUTF16Encoding && e != kUTF16LEEncoding &&
           e != kUTF16BEEncoding && codePage != 12000 && codePage != 65000;
}

bool stringPropsAreUTF8(const MAPIPropList* props) {
    if (!props) return true;
    for (const auto& p : *props) {
        if (p->type() != PT_STRING8) continue;
        for (const auto& v : p->isMultiValued() ? p->values() : std::vector{p->singleValue()}) {
            if (!v) continue;
            auto bytes = v->variableBytes();
            if (bytes && !isValidUTF8(bytes->view())) return false;
        }
    }
    return true;
}

}  // namespace

uint32_t ansiCodePageForLocale(uint32_t localeId) {
    for (const auto& row : kLocales)
        if (row.language == (localeId & 0xFFFF)) return row.codePage;
    if ((localeId & 0x3FF) == 0x04) return 936;  // Chinese without a known region
    for (const auto& row : kLanguages)
        if (row.language == (localeId & 0x3FF)) return row.codePage;
    return kWestern;
}

std::optional<uint32_t> codePageFor8BitText(uint32_t codePage) {
    for (const auto& row : kLabels)
        if (row.label == codePage) return row.codePage;
    if (!holdsBytes(codePage)) return std::nullopt;
    return codePage;
}

uint32_t codePageOf8BitStrings(const CodePageLabels& labels, bool stringsAreUTF8) {
    const std::optional<uint32_t> locale =
        labels.localeId ? std::optional(ansiCodePageForLocale(*labels.localeId)) : std::nullopt;
    for (const auto& label :
         {labels.messageCodePage, labels.oemCodePage, locale, labels.internetCodePage}) {
        if (!label) continue;
        auto codePage = codePageFor8BitText(*label);
        if (!codePage) continue;
        if (*codePage == kUTF8CodePage && !stringsAreUTF8) return locale.value_or(kWestern);
        return *codePage;
    }
    return kWestern;
}

StringEncoding encodingOf8BitStrings(const MAPIPropList* props,
                                     std::optional<uint32_t> oemCodePage) {
    CodePageLabels labels;
    labels.messageCodePage = uint32ForProperty(props, PR_MESSAGE_CODEPAGE);
    labels.oemCodePage = oemCodePage;
    labels.localeId = uint32ForProperty(props, PR_MESSAGE_LOCALE_ID);
    labels.internetCodePage = uint32ForProperty(props, PR_INTERNET_CPID);
    const uint32_t codePage = codePageOf8BitStrings(labels, stringPropsAreUTF8(props));
    const StringEncoding e = encodingForWindowsCodePage(codePage);
    return e == kInvalidEncoding ? kWindowsCP1252Encoding : e;
}

}  // namespace qb
