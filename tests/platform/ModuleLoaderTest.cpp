// Finding the drawing modules: the search path, and every way a folder can fail to give one.
#include "platform/ModuleLoader.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "platform/DrawingModules.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

class ModuleLoader : public testing::Test {
  protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("qb-modules-" + std::to_string(::getpid()) + "-" +
                testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }
    fs::path dir_;
};

TEST_F(ModuleLoader, TheEnvironmentComesFirstThenTheBuildTreeThenTheInstallLocation) {
    const char* before = std::getenv("QB_MODULE_DIR");
    std::string saved = before ? before : "";
    ::setenv("QB_MODULE_DIR", "/opt/elsewhere", 1);
    auto withEnv = moduleSearchPath();
    ::unsetenv("QB_MODULE_DIR");
    auto without = moduleSearchPath();
    if (before) ::setenv("QB_MODULE_DIR", saved.c_str(), 1);

    ASSERT_EQ(withEnv.size(), 3u);
    EXPECT_EQ(withEnv[0], "/opt/elsewhere");
    ASSERT_EQ(without.size(), 2u);
    EXPECT_EQ(without[0], QB_MODULE_BUILD_DIR);
    EXPECT_TRUE(without[1].ends_with("/qbcore")) << without[1];
}

TEST_F(ModuleLoader, AFolderWithoutAWorkingModuleGivesNone) {
    std::string why;
    EXPECT_EQ(openModuleTable({dir_.string()}, kIconModuleFile, kIconModuleEntry,
                              kIconModuleVersion, why),
              nullptr);
    EXPECT_NE(why.find("qbcore-icons.so not found"), std::string::npos) << why;

    // A file of that name that is no shared object: the loader's reason is kept.
    std::ofstream(dir_ / kIconModuleFile) << "not an ELF file";
    EXPECT_EQ(openModuleTable({dir_.string()}, kIconModuleFile, kIconModuleEntry,
                              kIconModuleVersion, why),
              nullptr);
    EXPECT_NE(why.find(kIconModuleFile), std::string::npos) << why;
    EXPECT_EQ(why.find("not found"), std::string::npos) << why;

    EXPECT_EQ(openModuleTable({}, kIconModuleFile, kIconModuleEntry, kIconModuleVersion, why),
              nullptr);
}

TEST_F(ModuleLoader, TheRealModuleIsCheckedForItsEntryPointAndVersion) {
    std::vector<std::string> dirs = {dir_.string(), QB_MODULE_BUILD_DIR};
    std::string why;
    const void* table =
        openModuleTable(dirs, kIconModuleFile, kIconModuleEntry, kIconModuleVersion, why);
    ASSERT_NE(table, nullptr) << why;
    EXPECT_EQ(static_cast<const QBIconModuleTable*>(table)->version, kIconModuleVersion);
    // Opening it again gives the same module, not a second copy.
    EXPECT_EQ(openModuleTable(dirs, kIconModuleFile, kIconModuleEntry, kIconModuleVersion, why),
              table);

    EXPECT_EQ(openModuleTable(dirs, kIconModuleFile, "qb_no_such_entry", kIconModuleVersion, why),
              nullptr);
    EXPECT_NE(why.find("no entry point qb_no_such_entry"), std::string::npos) << why;
    EXPECT_EQ(openModuleTable(dirs, kIconModuleFile, kIconModuleEntry, kIconModuleVersion + 1, why),
              nullptr);
    EXPECT_NE(why.find("version 1, not 2"), std::string::npos) << why;
}

TEST_F(ModuleLoader, AModuleThatIsNowhereIsOneLogLine) {
    test::LogCapture log;
    EXPECT_EQ(loadModuleTable("qbcore-nothing.so", kIconModuleEntry, 1, "test pictures"), nullptr);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0],
              "no test pictures: cannot load the module (qbcore-nothing.so not found)");
}

}  // namespace
}  // namespace qb
