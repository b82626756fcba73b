// SPDX-License-Identifier: Apache-2.0
// The library's version from the build, its dependencies' versions from the libraries
// loaded at run time.
#include "api/Version.h"

#include <charconv>

#include <libxml/globals.h>
#include <unicode/uversion.h>

#include "api/QBVersion.h"
#include "formats/ContainerEntries.h"

namespace qb {

const char* libraryVersion() {
    return QBCORE_VERSION;
}

namespace {

std::string icuVersion() {
    UVersionInfo info;
    u_getVersion(info);
    char text[U_MAX_VERSION_STRING_LENGTH] = {};
    u_versionToString(info, text);
    return text;
}

// libxml2 reports its version as digits, "20914" for 2.9.14.
std::string libxml2Version() {
    const std::string digits = xmlParserVersion ? xmlParserVersion : "";
    int number = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (ec != std::errc() || end != digits.data() + digits.size() || number < 10000) return digits;
    return std::to_string(number / 10000) + "." + std::to_string(number / 100 % 100) + "." +
           std::to_string(number % 100);
}

}  // namespace

std::vector<DependencyVersion> runtimeDependencyVersions() {
    return {{"ICU", icuVersion()}, {"libxml2", libxml2Version()}, {"libzip", zipLibraryVersion().value_or("not found")}};
}

}  // namespace qb
