// The MIME data the icons module reads: tolerant parsing of globs2 and generic-icons, and the
// order in which globs decide a name's type.
#include "modules/icons/MimeDatabase.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

constexpr std::string_view kGlobs =
    "# written by update-mime-database\n"
    "50:application/gzip:*.gz\n"
    "50:application/x-compressed-tar:*.tar.gz\n"
    "50:text/x-csrc:*.c:cs\n"
    "50:text/x-c++src:*.C:cs\n"
    "50:text/x-c++src:*.cpp\n"
    "10:text/x-readme:README*\n"
    "50:text/x-makefile:makefile\n"
    "60:application/x-sharedlib:*.so.[0-9]*\n"
    "40:application/x-light:*.dup\n"
    "80:application/x-heavy:*.dup\r\n"
    "50:application/x-light:*.dup\n";

constexpr std::string_view kGeneric =
    "application/gzip:package-x-generic\n"
    "application/pdf:x-office-document\n";

TEST(MimeDatabase, GlobsDecideByLiteralThenLongestSuffixThenWeight) {
    auto db = MimeDatabase::parse(kGlobs, kGeneric);
    EXPECT_EQ(db.mediaType("a.gz"), "application/gzip");
    EXPECT_EQ(db.mediaType("a.tar.gz"), "application/x-compressed-tar");
    EXPECT_EQ(db.mediaType("A.TAR.GZ"), "application/x-compressed-tar");
    // Case-sensitive globs: .c and .C are different languages.
    EXPECT_EQ(db.mediaType("main.c"), "text/x-csrc");
    EXPECT_EQ(db.mediaType("main.C"), "text/x-c++src");
    EXPECT_EQ(db.mediaType("main.CPP"), "text/x-c++src");
    // A literal name wins over any suffix; wildcard patterns come last.
    EXPECT_EQ(db.mediaType("Makefile"), "text/x-makefile");
    EXPECT_EQ(db.mediaType("README.gz"), "application/gzip");
    EXPECT_EQ(db.mediaType("README.first"), "text/x-readme");
    EXPECT_EQ(db.mediaType("libz.so.1"), "application/x-sharedlib");
    // Two types for one glob: the heavier wins, whatever the order.
    EXPECT_EQ(db.mediaType("x.dup"), "application/x-heavy");
    // Only the last component of a path counts.
    EXPECT_EQ(db.mediaType("dir.c/README.x"), "text/x-readme");
    EXPECT_EQ(db.mediaType("C:\\dir.gz\\Makefile"), "text/x-makefile");

    for (std::string_view name : {"", "noext", "a.unknown", "a.", ".", "dir/"})
        EXPECT_EQ(db.mediaType(name), "application/octet-stream") << name;
}

TEST(MimeDatabase, GenericIconsAreLookedUpByType) {
    auto db = MimeDatabase::parse(kGlobs, kGeneric);
    EXPECT_EQ(db.genericIcon("application/pdf"), "x-office-document");
    EXPECT_EQ(db.genericIcon("application/gzip"), "package-x-generic");
    EXPECT_EQ(db.genericIcon("text/plain"), "");
}

TEST(MimeDatabase, LinesThatDoNotParseAreSkipped) {
    constexpr std::string_view globs =
        "\n"
        "50\n"
        "50:text/plain\n"
        "abc:text/x-a:*.a\n"
        "50x:text/x-b:*.b\n"
        "99999999999999999999:text/x-c:*.c\n"
        "50:notatype:*.d\n"
        "50:/x:*.e\n"
        "50:text/:*.f\n"
        "50:text/x-g:\n"
        "50:text/x-h:__NOGLOBS__\n"
        "50:text/x-ok:*.ok:cs,unknownflag\n"
        "50:text/x-last:*.last";  // no newline at the end
    constexpr std::string_view generic =
        "text/x-ok\n"
        "text/x-ok:\n"
        "text/x-ok:a/b\n"
        "bad:icon\n"
        "text/x-last:text-x-generic";
    auto db = MimeDatabase::parse(globs, generic);
    for (std::string_view name : {"x.a", "x.b", "x.c", "x.d", "x.e", "x.f", "__NOGLOBS__"})
        EXPECT_EQ(db.mediaType(name), "application/octet-stream") << name;
    // "cs" among other flags still counts.
    EXPECT_EQ(db.mediaType("x.OK"), "application/octet-stream");
    EXPECT_EQ(db.mediaType("x.ok"), "text/x-ok");
    EXPECT_EQ(db.mediaType("x.last"), "text/x-last");
    EXPECT_EQ(db.genericIcon("text/x-ok"), "");
    EXPECT_EQ(db.genericIcon("text/x-last"), "text-x-generic");
}

TEST(MimeDatabase, TheSystemDataIsReadWhenThere) {
    auto db = MimeDatabase::load("/usr/share/mime");
    if (db.mediaType("a.pdf") == "application/octet-stream")
        GTEST_SKIP() << "no shared-mime-info data on this machine";
    EXPECT_EQ(db.mediaType("report.PDF"), "application/pdf");
    EXPECT_EQ(db.mediaType("a.docx"),
              "application/vnd.openxmlformats-officedocument.wordprocessingml.document");
    EXPECT_EQ(db.genericIcon("application/zip"), "package-x-generic");
    auto missing = MimeDatabase::load("/nonexistent-folder");
    EXPECT_EQ(missing.mediaType("a.pdf"), "application/octet-stream");
}

}  // namespace
}  // namespace qb
