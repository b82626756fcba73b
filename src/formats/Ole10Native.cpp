// SPDX-License-Identifier: Apache-2.0
// The packaged record read field by field within its own claimed size; the UTF-16 names newer
// packagers append replace the 8-bit ones when all three are there.
#include "formats/Ole10Native.h"

#include <cctype>

#include "platform/ByteReader.h"
#include "platform/AsciiCase.h"

namespace qb {

namespace {

// A NUL-terminated 8-bit string, the reader moved past its terminator.
std::optional<std::string> cString(ByteReader& in, StringEncoding encoding) {
    auto text = in.cString();
    if (!text) return std::nullopt;
    return decodeMessageText(text->span(), encoding);
}

// A counted 8-bit string (the count includes the terminator).
std::optional<std::string> countedString(ByteReader& in, StringEncoding encoding) {
    auto length = in.u32le();
    if (!length) return std::nullopt;
    auto bytes = in.take(*length);
    if (!bytes) return std::nullopt;
    return decodeMessageText(bytes->withoutTrailingNULs().span(), encoding);
}

// A string of UTF-16 units counted in characters; nothing when it is not all there.
std::optional<std::string> wideString(ByteReader& in) {
    auto count = in.u32le();
    if (!count) return std::nullopt;
    auto bytes = in.takeArray(*count, 2);
    if (!bytes) return std::nullopt;
    size_t n = bytes->size();
    while (n >= 2 && (*bytes)[n - 1] == 0 && (*bytes)[n - 2] == 0)
        n -= 2;
    return utf16leToUTF8(bytes->slice(0, n).span());
}

std::string lastComponent(std::string_view path) {
    if (const size_t separator = path.find_last_of("/\\"); separator != std::string::npos)
        path.remove_prefix(separator + 1);
    if (path.size() >= 2 && path[1] == ':') path.remove_prefix(2);
    return std::string(path);
}

std::string lowerExtension(std::string_view name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return {};
    return lowercasedASCII(name.substr(dot + 1));
}

}  // namespace

std::optional<OLEPackage> readOle10Native(const Bytes& stream, StringEncoding encoding) {
    ByteReader in(stream);
    auto nativeSize = in.u32le();
    // The native data may claim less than the stream holds, never more.
    if (!nativeSize || *nativeSize > in.remaining()) return std::nullopt;
    ByteReader native(*stream.sub(4, *nativeSize));
    OLEPackage package;
    auto kind = native.u16le();
    auto label = cString(native, encoding);
    auto original = cString(native, encoding);
    // Two words of flags, then the path of the temporary copy.
    if (!kind || !label || !original || !native.skip(4)) return std::nullopt;
    auto temp = countedString(native, encoding);
    auto size = native.u32le();
    if (!temp || !size) return std::nullopt;
    auto data = native.take(*size);
    if (!data) return std::nullopt;
    package.label = std::move(*label);
    package.originalPath = std::move(*original);
    package.tempPath = std::move(*temp);
    package.data = std::move(*data);
    // Newer packagers add the three names again in UTF-16.
    auto wideTemp = wideString(native);
    auto wideLabel = wideTemp ? wideString(native) : std::nullopt;
    auto wideOriginal = wideLabel ? wideString(native) : std::nullopt;
    if (wideOriginal) {
        if (!wideTemp->empty()) package.tempPath = std::move(*wideTemp);
        if (!wideLabel->empty()) package.label = std::move(*wideLabel);
        if (!wideOriginal->empty()) package.originalPath = std::move(*wideOriginal);
    }
    return package;
}

std::string packageFilename(const OLEPackage& package) {
    // Some packagers keep the path of the icon's source (SHELL32.DLL) where the original
    // path belongs; the temporary copy always has the file's own extension, so a name with
    // another one is passed over.
    const std::string temp = lastComponent(package.tempPath);
    const std::string extension = lowerExtension(temp);
    std::string fallback;
    for (const std::string& candidate :
         {lastComponent(package.originalPath), lastComponent(package.label), temp}) {
        if (candidate.empty()) continue;
        if (extension.empty() || lowerExtension(candidate) == extension) return candidate;
        if (fallback.empty()) fallback = candidate;
    }
    return fallback;
}

}  // namespace qb
