// SPDX-License-Identifier: Apache-2.0
// Rich text at scale: writes a generated RTF document (formatted text, tables and one large
// picture) and times its conversion to a page, as the RTF body exporter does it.
//   rtf-bench make MEGABYTES FILE      a document of about that size; a quarter of it is the
//                                       picture (half of it as hex digits)
//   rtf-bench convert FILE             prints seconds and MB/s of RTF → styled text → HTML,
//                                       the page's size and the CPU seconds the conversion took
//                                       (which waiting for the cores of a shared machine does
//                                       not count)
//   rtf-bench html FILE OUT            writes the page, to look at
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <string>

#include "platform/FileData.h"
#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"

namespace {

std::string document(size_t bytes) {
    std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}"
        "{\\f1\\froman\\fcharset0 Times New Roman;}}{\\colortbl;\\red200\\green0\\blue0;}\n";
    const size_t pictureBytes = bytes / 4;
    const size_t textBytes = bytes - 2 * pictureBytes;
    uint32_t seed = 12345;
    for (size_t n = 0; rtf.size() < textBytes; ++n) {
        if (n % 20 == 19) {
            rtf += "\\trowd\\cellx2000\\cellx4000\\cellx6000\n";
            for (int c = 0; c < 3; ++c) rtf += "\\pard\\intbl cell {\\b " + std::to_string(n) + "}\\cell ";
            rtf += "\\row\\pard\n";
            continue;
        }
        // A paragraph as mail programs write them: a font and size, a sentence or three,
        // one word in bold, now and then a link or a character outside ASCII.
        rtf += "\\pard\\sa120\\f0\\fs22 Paragraph " + std::to_string(n) +
               " of a long message: the quarterly figures are attached, and the team would like "
               "your comments on the second table before the meeting on Thursday, when the "
               "{\\b final} numbers go to the board. Please also check caf\\'e9 prices in "
               "\\u8364? and the {\\field{\\*\\fldinst HYPERLINK \"http://example.org\"}"
               "{\\fldrslt shared folder}} for the latest version of the slides and notes.\\par\n";
    }
    rtf += "\\pard{\\*\\shppict{\\pict\\pngblip\\picwgoal2000\\pichgoal1500\n";
    static constexpr char kHex[] = "0123456789abcdef";
    for (size_t i = 0; i < pictureBytes; ++i) {
        seed = seed * 1103515245 + 12345;
        const auto b = static_cast<uint8_t>(seed >> 16);
        rtf += kHex[b >> 4];
        rtf += kHex[b & 15];
        if (i % 64 == 63) rtf += '\n';
    }
    rtf += "}}\\par}\n";
    return rtf;
}

// RTF → styled text → page, as the RTF body exporter does it. Both are kept, so that the
// time taken to free them is not counted.
struct Converted {
    std::optional<qb::StyledText> styled;
    std::string html;
};

Converted convert(const qb::Bytes& rtf) {
    Converted c{qb::readRTF(rtf), {}};
    if (!c.styled) return c;
    c.styled->changeFontByPointSize(2.0);
    c.html = qb::htmlOfStyledText(*c.styled, 2 * rtf.size());
    return c;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "make" && argc == 4) {
        const size_t megabytes = std::strtoull(argv[2], nullptr, 10);
        std::ofstream(argv[3], std::ios::binary) << document(megabytes << 20);
        return 0;
    }
    if (mode == "convert" && argc == 3) {
        auto rtf = qb::readFileData(argv[2]);
        if (!rtf) return 1;
        const auto start = std::chrono::steady_clock::now();
        const std::clock_t cpuStart = std::clock();
        const Converted c = convert(*rtf);
        const double cpu = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (c.html.empty()) return 1;
        std::printf("%.3f %.0f %zu %.4f\n", seconds,
                    static_cast<double>(rtf->size()) / 1e6 / seconds, c.html.size(), cpu);
        return 0;
    }
    if (mode == "html" && argc == 4) {
        auto rtf = qb::readFileData(argv[2]);
        auto styled = rtf ? qb::readRTF(*rtf) : std::nullopt;
        if (!styled) return 1;
        styled->changeFontByPointSize(2.0);
        std::ofstream(argv[3], std::ios::binary) << qb::htmlOfStyledText(*styled);
        return 0;
    }
    std::fprintf(stderr, "usage: rtf-bench make MEGABYTES FILE | convert FILE | html FILE OUT\n");
    return 2;
}
