// SPDX-License-Identifier: Apache-2.0
// The versions `quillbox --version` reports: the libraries' own run-time answers, which on a
// machine where build and run use the same packages equal the headers the build saw.
#include <gtest/gtest.h>
#include <libxml/xmlversion.h>
#include <unicode/uversion.h>
#include <zipconf.h>

#include "api/QBVersion.h"
#include "api/Version.h"

namespace qb {
namespace {

TEST(Version, LibraryAndDependencyVersionsMatchTheBuild) {
    EXPECT_STREQ(libraryVersion(), QBCORE_VERSION);
    EXPECT_EQ(std::string(QBCORE_VERSION), std::to_string(QBCORE_VERSION_MAJOR) + "." +
                                               std::to_string(QBCORE_VERSION_MINOR) + "." +
                                               std::to_string(QBCORE_VERSION_PATCH));
    const auto versions = runtimeDependencyVersions();
    ASSERT_EQ(versions.size(), 3u);
    EXPECT_EQ(versions[0].name, "ICU");
    EXPECT_EQ(versions[0].version, U_ICU_VERSION);
    EXPECT_EQ(versions[1].name, "libxml2");
    // libxml2 reports "20914"; the line shows the dotted form its headers name.
    EXPECT_EQ(versions[1].version, LIBXML_DOTTED_VERSION);
    EXPECT_EQ(versions[2].name, "libzip");
    EXPECT_EQ(versions[2].version, LIBZIP_VERSION);
}

}  // namespace
}  // namespace qb
