// SPDX-License-Identifier: Apache-2.0
// Escaping that makes control characters visible, and long text cut at whole code points.
#include "cli/ValueSummary.h"

#include <fmt/format.h>

#include "model/OutlookMessage.h"
#include "platform/StringEncoding.h"

namespace qb::cli {

namespace {

void appendEscaped(std::string& out, unsigned char c) {
    switch (c) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20 || c == 0x7F)
                out += fmt::format("\\x{:02x}", c);
            else
                out += static_cast<char>(c);
    }
}

}  // namespace

std::string escapedText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const unsigned char next =
            i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
        // C1 controls (U+0080 to U+009F) drive some terminals as ESC sequences do.
        if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {
            out += fmt::format("\\u{:04x}", next);
            ++i;
            continue;
        }
        appendEscaped(out, c);
    }
    return out;
}

std::string quotedText(std::string_view text, size_t maxCodePoints) {
    std::string out = "\"";
    size_t count = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) != 0x80 && count++ == maxCodePoints) {
            out += fmt::format("\"… ({} characters)", codePointCount(text));
            return out;
        }
        if (c == '"')
            out += "\\\"";
        else if (c == '\\')
            out += "\\\\";
        else
            appendEscaped(out, c);
    }
    return out + "\"";
}

std::string bytesSummary(const Bytes& bytes) {
    std::string out = fmt::format("<{} bytes", bytes.size());
    const size_t shown = std::min<size_t>(bytes.size(), 16);
    if (shown) out += ":";
    for (size_t i = 0; i < shown; ++i)
        out += fmt::format(" {:02x}", bytes[i]);
    if (shown < bytes.size()) out += " …";
    return out + ">";
}

std::string summarize(const MAPIData& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return "(no value)"; }
        std::string operator()(NullValue) const { return "(null)"; }
        std::string operator()(uint16_t v) const { return fmt::format("{} (0x{:04X})", v, v); }
        std::string operator()(uint32_t v) const { return fmt::format("{} (0x{:08X})", v, v); }
        std::string operator()(float v) const { return fmt::format("{}", v); }
        std::string operator()(double v) const { return fmt::format("{}", v); }
        std::string operator()(int64_t v) const { return std::to_string(v); }
        std::string operator()(bool v) const { return v ? "true" : "false"; }
        std::string operator()(Date v) const { return formatRFC3339(v); }
        std::string operator()(const std::string& v) const { return quotedText(v); }
        std::string operator()(const Bytes& v) const { return bytesSummary(v); }
        std::string operator()(const std::shared_ptr<OutlookMessage>& m) const {
            auto subject = m->subject();
            // Appended, not `" " + std::string`, which trips g++ 12's -Wrestrict at -O3.
            std::string text = "embedded message";
            if (subject) {
                text += ' ';
                text += quotedText(*subject);
            }
            return text;
        }
        std::string operator()(const std::shared_ptr<CFBEntry>&) const {
            return "embedded storage";
        }
    };
    return std::visit(Visitor{}, value);
}

std::string summarize(const TNEFAttrValue& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return "(no value)"; }
        std::string operator()(const std::string& s) const { return quotedText(s); }
        std::string operator()(Date d) const { return formatRFC3339(d); }
        std::string operator()(uint16_t v) const { return fmt::format("{} (0x{:04X})", v, v); }
        std::string operator()(uint32_t v) const { return fmt::format("{} (0x{:08X})", v, v); }
        std::string operator()(const Bytes& b) const { return bytesSummary(b); }
        std::string operator()(const std::shared_ptr<Address>& a) const {
            return fmt::format("{} <{}> type {}", quotedText(a->displayName().value_or("")),
                               a->address().value_or(""), a->type().value_or("(none)"));
        }
        std::string operator()(const TNEFAttachmentRendData& r) const { return r.description(); }
        std::string operator()(const MAPIPropList& p) const {
            return fmt::format("{} properties", p.size());
        }
        std::string operator()(const RecipientRows& rows) const {
            return fmt::format("{} rows", rows.size());
        }
    };
    return std::visit(Visitor{}, value);
}

}  // namespace qb::cli
