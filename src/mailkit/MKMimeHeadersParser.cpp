// SPDX-License-Identifier: Apache-2.0
// One pass over the lines with continuation joining; non-field lines are skipped rather than
// failing the block.
#include "mailkit/MKMimeHeadersParser.h"

#include <algorithm>
#include <cctype>
#include <unordered_map>

#include "mailkit/MimeEncoding.h"
#include "platform/StringEncoding.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

bool isFieldName(std::string_view name) {
    if (name.empty()) return false;
    for (unsigned char c : name)
        if (c <= 32 || c >= 127 || c == ':') return false;
    return true;
}

std::string asText(std::string_view bytes) {
    if (isValidUTF8(bytes)) return std::string(bytes);
    return decodeString(bytes, kWindowsCP1252Encoding, true).value_or("");
}

}  // namespace

MKMimeHeaders MKMimeHeadersParser::parse(std::string_view block) {
    MKMimeHeaders::HeaderDictionary dict;
    // Where each name sits in `dict`, so that many distinct names cost no more than few.
    std::unordered_map<std::string, size_t> index;
    std::string* current = nullptr;  // the value continuation lines extend
    size_t pos = 0;
    while (pos < block.size()) {
        size_t end = block.find('\n', pos);
        if (end == std::string_view::npos) end = block.size();
        std::string_view line = block.substr(pos, end - pos);
        pos = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty()) break;  // the end of the header block
        if (line[0] == ' ' || line[0] == '\t') {
            if (current) *current += asText(line);
            continue;
        }
        const size_t colon = line.find(':');
        const std::string_view name = colon == std::string_view::npos ? "" : line.substr(0, colon);
        // A line that is no field (a boundary, garbage) is passed over.
        std::string_view trimmedName = name;
        while (!trimmedName.empty() && (trimmedName.back() == ' ' || trimmedName.back() == '\t'))
            trimmedName.remove_suffix(1);
        if (!isFieldName(trimmedName)) {
            current = nullptr;
            continue;
        }
        std::string_view value = line.substr(colon + 1);
        while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
            value.remove_prefix(1);
        auto [at, added] = index.try_emplace(std::string(trimmedName), dict.size());
        if (added) dict.emplace_back(at->first, std::vector<std::string>{});
        auto& values = dict[at->second].second;
        values.push_back(asText(value));
        current = &values.back();
    }
    return MKMimeHeaders(std::move(dict));
}

MKMessageHeaders::MKMessageHeaders(std::string_view headerString)
    : headers_(MKMimeHeadersParser::parse(headerString)) {}

std::optional<std::vector<MKEmailAddress>> MKMessageHeaders::addressListForKey(
    std::string_view key) const {
    std::optional<std::vector<MKEmailAddress>> list;
    for (const auto& [name, values] : headers_.headerDictionary()) {
        if (!equalsIgnoringASCIICase(name, key)) continue;
        if (!list) list.emplace();
        for (const auto& v : values) {
            auto found = MKEmailAddress::emailAddressesFromHeaderValue(v);
            list->insert(list->end(), found.begin(), found.end());
        }
    }
    return list;
}

std::optional<std::string> MKMessageHeaders::headerForKey(std::string_view key) const {
    auto value = headers_.firstHeaderForKey(key);
    if (!value) return std::nullopt;
    return decodedMimeEncodedString(*value);
}

}  // namespace qb
