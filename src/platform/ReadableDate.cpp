// SPDX-License-Identifier: Apache-2.0
// ICU's DateFormat with kMedium for both parts; one formatter per call keeps the function
// safe to call from several threads.
#include "platform/ReadableDate.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <memory>

namespace qb {

std::string formatMediumDateTime(Date date, std::string_view locale, std::string_view zone) {
    const icu::Locale loc =
        locale.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(locale).c_str());
    std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
        icu::DateFormat::kMedium, icu::DateFormat::kMedium, loc));
    if (!format) return formatRFC3339(date);
    if (!zone.empty())
        format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(
            icu::StringPiece(zone.data(), static_cast<int32_t>(zone.size())))));
    // ICU counts milliseconds in a double: exact far beyond any date a message can hold.
    const UDate millis = static_cast<double>(date.time_since_epoch().count()) * 1000.0;
    icu::UnicodeString text;
    format->format(millis, text);
    std::string out;
    text.toUTF8String(out);
    return out;
}

}  // namespace qb
