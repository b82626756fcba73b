// SPDX-License-Identifier: Apache-2.0
#include "exporters/Ivex.h"

namespace qb {

std::string escapeContentValue(std::string_view value, LoneCR loneCR) {
    std::string out;
    out.reserve(value.size() + value.size() / 8);
    for (size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '\r':
                // CR LF becomes one line break; the LF is written next time round.
                if (i + 1 < value.size() && value[i + 1] == '\n') break;
                out += loneCR == LoneCR::LineBreak ? "\\n" : "\r";
                break;
            case '\n':
                out += "\\n";
                break;
            case ';':
                out += "\\;";
                break;
            case ',':
                out += "\\,";
                break;
            default:
                out += c;
        }
    }
    return out;
}

}  // namespace qb
