// SPDX-License-Identifier: Apache-2.0
// A sorted table searched by halving; anything unknown is application/octet-stream.
#include "mime/MimeTypes.h"
#include "platform/AsciiCase.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace qb {

namespace {

// Sorted by extension for binary search.
constexpr std::array<std::pair<std::string_view, std::string_view>, 71> kTypes{{
    {"7z", "application/x-7z-compressed"},
    {"ai", "application/postscript"},
    {"avi", "video/x-msvideo"},
    {"bmp", "image/bmp"},
    {"css", "text/css"},
    {"csv", "text/csv"},
    {"cur", "image/x-icon"},
    {"doc", "application/msword"},
    {"docm", "application/vnd.ms-word.document.macroenabled.12"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"dot", "application/msword"},
    {"dotx", "application/vnd.openxmlformats-officedocument.wordprocessingml.template"},
    {"eml", "message/rfc822"},
    {"eps", "application/postscript"},
    {"gif", "image/gif"},
    {"gz", "application/gzip"},
    {"heic", "image/heic"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ico", "image/x-icon"},
    {"ics", "text/calendar"},
    {"j2k", "image/jp2"},
    {"jp2", "image/jp2"},
    {"jpe", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript"},
    {"json", "application/json"},
    {"m4a", "audio/mp4"},
    {"md", "text/markdown"},
    {"mov", "video/quicktime"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"mpeg", "video/mpeg"},
    {"mpg", "video/mpeg"},
    {"msg", "application/vnd.ms-outlook"},
    {"odp", "application/vnd.oasis.opendocument.presentation"},
    {"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    {"odt", "application/vnd.oasis.opendocument.text"},
    {"ogg", "audio/ogg"},
    {"pdf", "application/pdf"},
    {"png", "image/png"},
    {"pps", "application/vnd.ms-powerpoint"},
    {"ppt", "application/vnd.ms-powerpoint"},
    {"pptm", "application/vnd.ms-powerpoint.presentation.macroenabled.12"},
    {"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    {"ps", "application/postscript"},
    {"psd", "image/vnd.adobe.photoshop"},
    {"rar", "application/vnd.rar"},
    {"rtf", "application/rtf"},
    {"svg", "image/svg+xml"},
    {"tar", "application/x-tar"},
    {"tgz", "application/gzip"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"tnef", "application/ms-tnef"},
    {"txt", "text/plain"},
    {"vcf", "text/vcard"},
    {"vsd", "application/vnd.visio"},
    {"wav", "audio/wav"},
    {"webm", "video/webm"},
    {"webp", "image/webp"},
    {"wma", "audio/x-ms-wma"},
    {"wmf", "image/wmf"},
    {"wmv", "video/x-ms-wmv"},
    {"xls", "application/vnd.ms-excel"},
    {"xlsm", "application/vnd.ms-excel.sheet.macroenabled.12"},
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"xml", "application/xml"},
    {"xps", "application/vnd.ms-xpsdocument"},
    {"zip", "application/zip"},
}};

}  // namespace

std::string pathExtension(std::string_view filename) {
    const size_t slash = filename.find_last_of('/');
    if (slash != std::string_view::npos) filename.remove_prefix(slash + 1);
    const size_t dot = filename.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    return std::string(filename.substr(dot + 1));
}

std::string mimeTypeForFilename(std::string_view filename) {
    const std::string ext = lowercasedASCII(pathExtension(filename));
    const auto it = std::lower_bound(
        kTypes.begin(), kTypes.end(), ext,
        [](const auto& row, const std::string& key) { return row.first < std::string_view(key); });
    if (it != kTypes.end() && it->first == ext) return std::string(it->second);
    return "application/octet-stream";
}

}  // namespace qb
