// SPDX-License-Identifier: Apache-2.0
// quillbox vcf, run as a user would: the card of a contact in either version, and a clear
// failure for anything that is not a contact or list.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/TNEFWriter.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::PropsWriter;
using test::TNEFWriter;
using testing::HasSubstr;

class VcfCommand : public testing::Test {
  protected:
    void SetUp() override { dir_ = test::makeTestFolder("quillbox-vcf"); }
    void TearDown() override { fs::remove_all(dir_); }

    std::string write(const std::string& name, const std::string& cls) {
        const fs::path p = dir_ / name;
        std::ofstream(p, std::ios::binary)
            << TNEFWriter()
                   .version()
                   .oemCodepage(1251)
                   .messageClass(cls)
                   .mapiProps(PropsWriter()
                                  .string8(0x3A06, "\xC8\xE2\xE0\xED")  // Иван
                                  .string8(0x3A11, "Lee")
                                  .string8(0x3A08, "+7 495 000-00-00"))
                   .str();
        return p.string();
    }

    // Exit status and standard error; standard output goes to `out`.
    std::pair<int, std::string> run(const std::string& args) {
        const fs::path err = dir_ / "stderr";
        const std::string cmd = std::string(QB_QUILLBOX_PATH) + " " + args + " >" +
                                (dir_ / "out").string() + " 2>" + err.string();
        const int raw = std::system(cmd.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, test::slurp(err)};
    }
    std::string out() const { return test::slurp(dir_ / "out"); }

    fs::path dir_;
};

TEST_F(VcfCommand, WritesEitherVersionToStandardOutputOrAFile) {
    const std::string contact = write("c.dat", "IPM.Contact");
    auto [status, err] = run("vcf " + contact);
    EXPECT_EQ(status, 0) << err;
    EXPECT_EQ(out(),
              "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8:Lee;Иван;;;\nTEL;TYPE=WORK:+7 495 "
              "000-00-00\nADR;CHARSET=UTF-8:;;;;;\nEND:VCARD\n");

    const fs::path file = dir_ / "card.vcf";
    std::tie(status, err) = run("vcf --version 4.0 -o " + file.string() + " " + contact);
    EXPECT_EQ(status, 0) << err;
    EXPECT_EQ(test::slurp(file),
              "BEGIN:VCARD\r\nVERSION:4.0\r\nN:Lee;Иван;;;\r\nFN:Иван Lee\r\n"
              "TEL;VALUE=uri;TYPE=work:tel:+7-495-000-00-00\r\nEND:VCARD\r\n");
}

TEST_F(VcfCommand, RefusesOtherItemsAndOtherVersions) {
    const std::string note = write("n.dat", "IPM.Note");
    auto [status, err] = run("vcf " + note);
    EXPECT_EQ(status, 1);
    EXPECT_THAT(err, HasSubstr(note + ": not a contact or distribution list (its class is "
                                      "IPM.Note)"));
    EXPECT_EQ(out(), "");

    std::tie(status, err) = run("vcf " + write("l.dat", "IPM.DistList"));
    EXPECT_EQ(status, 1);
    EXPECT_THAT(err, HasSubstr("no member with an SMTP address"));

    std::tie(status, err) = run("vcf --version 3.0 " + write("c.dat", "IPM.Contact"));
    EXPECT_EQ(status, 2);
    EXPECT_THAT(err, HasSubstr("--version must be 2.1 or 4.0"));
}

}  // namespace
}  // namespace qb
