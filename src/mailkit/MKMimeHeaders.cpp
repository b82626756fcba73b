// SPDX-License-Identifier: Apache-2.0
// Folding at white space under 79 characters, and splitting encoded-word lines without
// cutting a "=XX" escape in two.
#include "mailkit/MKMimeHeaders.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "mailkit/Unicode.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

constexpr size_t kFoldAt = 79;
constexpr size_t kWordLine = 75;

bool isFoldSpace(char c) {
    return c == ' ' || c == '\t';
}

std::string withoutCRLF(std::string s) {
    size_t pos = 0;
    while ((pos = s.find("\r\n", pos)) != std::string::npos)
        s.erase(pos, 2);
    return s;
}

}  // namespace

void MKMimeHeaders::setHeader(std::string_view value, std::string_view key) {
    const std::string name = capitalizedHeaderKey(key);
    for (auto& [k, values] : dict_) {
        if (k == name) {
            values = {std::string(value)};
            return;
        }
    }
    dict_.emplace_back(name, std::vector<std::string>{std::string(value)});
}

std::optional<std::string> MKMimeHeaders::firstHeaderForKey(std::string_view key) const {
    for (const auto& [k, values] : dict_)
        if (equalsIgnoringASCIICase(k, key)) {
            if (values.empty()) return std::nullopt;
            return withoutCRLF(values.front());
        }
    return std::nullopt;
}

std::string foldHeaderLine(std::string_view line) {
    if (line.size() < kFoldAt) return std::string(line);
    std::string out;
    size_t lineStart = 0, pos = 0;
    const size_t n = line.size();
    for (;;) {
        if (n - lineStart < kFoldAt) {
            out.append(line.substr(lineStart));
            break;
        }
        // The next word and the white space before it.
        const size_t wsStart = pos;
        while (pos < n && isFoldSpace(line[pos]))
            ++pos;
        size_t wordEnd = pos;
        while (wordEnd < n && !isFoldSpace(line[wordEnd]))
            ++wordEnd;
        if (wordEnd - lineStart < kFoldAt) {
            pos = wordEnd;
            continue;
        }
        // Break before this word's white space; a line whose first word is already too long
        // ends after that word instead.
        const size_t cut = wsStart > lineStart ? wsStart : wordEnd;
        out.append(line.substr(lineStart, cut - lineStart));
        lineStart = pos = cut;
        if (lineStart >= n) break;
        out += "\r\n";
    }
    return out;
}

std::optional<std::string> MKMimeHeaders::mimeEncodedHeaderForKey(
    std::optional<std::string_view> key, std::string_view value, StringEncoding preferred,
    StringEncoding* used) {
    StringEncoding e = 0;
    auto payload = qEncodedStringWithString(value, preferred, &e);
    if (used) *used = e;
    if (!payload || e == 0) return std::nullopt;
    auto label = MKcharSetNameForEncoding(e);
    if (!label) return std::nullopt;

    // Each line is a lead ("Key: " on the first, the folding space on the others) and one
    // word; its length is counted with the word's "=?charset?Q?" opening.
    std::string lead = key ? capitalizedHeaderKey(*key) + ": " : std::string();
    const size_t opening = label->size() + 5;
    std::string out;
    size_t start = 0;
    const size_t n = payload->size();
    while (start < n) {
        const size_t prefix = lead.size() + opening;
        size_t j = start;
        while (j < n) {
            const size_t length = prefix + (j - start) + 2;
            if (length >= kWordLine || (length >= kWordLine - 3 && (*payload)[j] == '=')) break;
            ++j;
        }
        if (j == n) break;  // the rest fits: it is the last line
        // Every line carries at least one character (or escape), however long the prefix.
        if (j == start) j = std::min(n, start + ((*payload)[start] == '=' ? 3 : 1));
        out += lead +
               encodedWord(*label, 'Q', std::string_view(*payload).substr(start, j - start)) +
               "\r\n";
        lead = " ";
        start = j;
    }
    out += lead + encodedWord(*label, 'Q', std::string_view(*payload).substr(start));
    return out;
}

std::string MKMimeHeaders::foldedHeaderString() const {
    std::vector<std::string> names;
    for (const auto& [k, v] : dict_)
        names.push_back(capitalizedHeaderKey(k));
    std::vector<std::string> order;
    for (const char* first : {"From", "To", "Cc", "Date", "Subject", "Message-Id"})
        if (std::find(names.begin(), names.end(), first) != names.end()) order.emplace_back(first);
    for (const auto& name : names)
        if (std::find(order.begin(), order.end(), name) == order.end()) order.push_back(name);

    std::string out;
    for (const auto& name : order) {
        auto value = firstHeaderForKey(name);
        if (!value) continue;
        std::optional<std::string> field;
        if (!isASCII(*value))
            // Encoded as Latin 1 where it fits, whatever the set's preferred encoding.
            field = mimeEncodedHeaderForKey(name, *value, kISOLatin1Encoding);
        else
            field = foldHeaderLine(fmt::format("{}: {}", name, *value));
        if (!field) continue;
        if (!out.empty()) out += "\r\n";
        out += *field;
    }
    return out;
}

std::string MKMimeHeaders::unfoldedHeaderString() const {
    std::string out;
    for (const auto& [k, values] : dict_) {
        for (const auto& v : values) {
            if (!out.empty()) out += "\r\n";
            out += fmt::format("{}: {}", k,
                               isASCII(v) ? v : mimeWordWithString(v, kISOLatin1Encoding));
        }
    }
    return out;
}

}  // namespace qb
