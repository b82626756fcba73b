// SPDX-License-Identifier: Apache-2.0
// Control words by number: a small open-addressed table, made once.
#include "richtext/RTFControlWords.h"

#include <array>
#include <utility>

namespace qb {

namespace {

using W = RTFWord;

// clang-format off
constexpr std::pair<std::string_view, RTFWord> kWords[] = {
    {"field", W::field}, {"fonttbl", W::fonttbl}, {"colortbl", W::colortbl}, {"pict", W::pict},
    {"fldinst", W::fldinst}, {"fldrslt", W::fldrslt}, {"pntext", W::pntext},
    {"listtext", W::listtext}, {"NeXTGraphic", W::NeXTGraphic}, {"shppict", W::shppict},
    {"shprslt", W::shprslt}, {"shptxt", W::shptxt}, {"result", W::result}, {"object", W::object},
    {"shp", W::shp},
    {"stylesheet", W::SkippedDestination}, {"info", W::SkippedDestination},
    {"header", W::SkippedDestination}, {"headerl", W::SkippedDestination},
    {"headerr", W::SkippedDestination}, {"headerf", W::SkippedDestination},
    {"footer", W::SkippedDestination}, {"footerl", W::SkippedDestination},
    {"footerr", W::SkippedDestination}, {"footerf", W::SkippedDestination},
    {"footnote", W::SkippedDestination}, {"annotation", W::SkippedDestination},
    {"listtable", W::SkippedDestination}, {"listoverridetable", W::SkippedDestination},
    {"revtbl", W::SkippedDestination}, {"rsidtbl", W::SkippedDestination},
    {"generator", W::SkippedDestination}, {"xmlnstbl", W::SkippedDestination},
    {"themedata", W::SkippedDestination}, {"colorschememapping", W::SkippedDestination},
    {"latentstyles", W::SkippedDestination}, {"datastore", W::SkippedDestination},
    {"docvar", W::SkippedDestination}, {"nonshppict", W::SkippedDestination},
    {"pn", W::SkippedDestination}, {"pnseclvl", W::SkippedDestination},
    {"ftnsep", W::SkippedDestination}, {"ftnsepc", W::SkippedDestination},
    {"aftnsep", W::SkippedDestination}, {"xe", W::SkippedDestination},
    {"tc", W::SkippedDestination}, {"objdata", W::SkippedDestination},
    {"pgdsctbl", W::SkippedDestination}, {"filetbl", W::SkippedDestination},
    {"u", W::u}, {"emdash", W::emdash}, {"endash", W::endash}, {"bullet", W::bullet},
    {"lquote", W::lquote}, {"rquote", W::rquote}, {"ldblquote", W::ldblquote},
    {"rdblquote", W::rdblquote}, {"emspace", W::emspace}, {"enspace", W::enspace},
    {"qmspace", W::qmspace}, {"tab", W::tab}, {"line", W::line}, {"zwj", W::zwj},
    {"par", W::par}, {"page", W::page}, {"sect", W::sect}, {"cell", W::cell},
    {"nestcell", W::nestcell}, {"row", W::row}, {"nestrow", W::nestrow}, {"trowd", W::trowd},
    {"cellx", W::cellx}, {"intbl", W::intbl}, {"pard", W::pard}, {"ql", W::ql}, {"qr", W::qr},
    {"qc", W::qc}, {"qj", W::qj}, {"li", W::li}, {"ri", W::ri}, {"fi", W::fi}, {"sb", W::sb},
    {"sa", W::sa},
    {"plain", W::plain}, {"f", W::f}, {"fs", W::fs}, {"b", W::b}, {"i", W::i}, {"ul", W::ul},
    {"uld", W::ul}, {"uldb", W::ul}, {"ulw", W::ul}, {"ulwave", W::ul}, {"uldash", W::ul},
    {"ulth", W::ul}, {"ulnone", W::ulnone}, {"strike", W::strike}, {"striked", W::strike},
    {"v", W::v}, {"super", W::super}, {"sub", W::sub}, {"nosupersub", W::nosupersub},
    {"cf", W::cf}, {"cb", W::cb}, {"highlight", W::cb}, {"chcbpat", W::cb}, {"uc", W::uc},
    {"ansicpg", W::ansicpg}, {"mac", W::mac}, {"pc", W::pc}, {"pca", W::pca}, {"deff", W::deff},
    {"red", W::red}, {"green", W::green}, {"blue", W::blue}, {"width", W::width},
    {"height", W::height},
};
// clang-format on

constexpr size_t kSlots = 512;  // a power of two, over four times the words

constexpr uint32_t hashOf(std::string_view w) {
    uint32_t h = 2166136261u;
    for (char c : w)
        h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h;
}

struct Table {
    std::array<std::string_view, kSlots> names{};
    std::array<RTFWord, kSlots> words{};
};

constexpr Table makeTable() {
    Table t;
    for (const auto& [name, word] : kWords) {
        size_t i = hashOf(name) & (kSlots - 1);
        while (!t.names[i].empty())
            i = (i + 1) & (kSlots - 1);
        t.names[i] = name;
        t.words[i] = word;
    }
    return t;
}

constexpr Table kTable = makeTable();

}  // namespace

RTFWord rtfWord(std::string_view word) {
    if (word.empty()) return RTFWord::Other;
    for (size_t i = hashOf(word) & (kSlots - 1);; i = (i + 1) & (kSlots - 1)) {
        if (kTable.names[i].empty()) return RTFWord::Other;
        if (kTable.names[i] == word) return kTable.words[i];
    }
}

char32_t characterOfRTFWord(RTFWord word) {
    switch (word) {
        case W::emdash:
            return 0x2014;
        case W::endash:
            return 0x2013;
        case W::bullet:
            return 0x2022;
        case W::lquote:
            return 0x2018;
        case W::rquote:
            return 0x2019;
        case W::ldblquote:
            return 0x201C;
        case W::rdblquote:
            return 0x201D;
        case W::emspace:
            return 0x2003;
        case W::enspace:
            return 0x2002;
        case W::qmspace:
            return 0x2005;
        case W::tab:
            return '\t';
        case W::line:
            return '\n';
        case W::zwj:
            return 0x200D;
        default:
            return 0;
    }
}

}  // namespace qb
