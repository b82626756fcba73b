// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <fstream>

#include "support/CalendarItems.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

int runQuillbox(const std::string& args, const fs::path& dir) {
    const std::string cmd = std::string(QB_QUILLBOX_PATH) + " " + args + " >" +
                            (dir / "stdout").string() + " 2>" + (dir / "stderr").string();
    const int raw = std::system(cmd.c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

TEST(IcsCommand, WritesTheCalendarFileOfCalendarItemsOnly) {
    const fs::path dir = test::makeTestFolder("ics-command");
    test::CalendarItem item;
    item.times(dateFromComponents(2024, 7, 1, 7, 30, 0), dateFromComponents(2024, 7, 1, 8, 0, 0));
    std::ofstream(dir / "item.tnef", std::ios::binary) << item.tnef("IPM.Schedule.Meeting.Request");
    std::ofstream(dir / "note.tnef", std::ios::binary) << item.tnef("IPM.Note");

    EXPECT_EQ(runQuillbox(
                  "ics " + (dir / "item.tnef").string() + " -o " + (dir / "out.ics").string(), dir),
              0)
        << test::slurp(dir / "stderr");
    const std::string ics = test::slurp(dir / "out.ics");
    EXPECT_NE(ics.find("METHOD:REQUEST\r\n"), std::string::npos);
    EXPECT_NE(ics.find("DTSTART:20240701T073000Z\r\n"), std::string::npos);

    EXPECT_EQ(runQuillbox("ics " + (dir / "note.tnef").string(), dir), 1);
    EXPECT_NE(test::slurp(dir / "stderr").find("not a calendar item (message class IPM.Note)"),
              std::string::npos);
    EXPECT_EQ(test::slurp(dir / "stdout"), "");
    fs::remove_all(dir);
}

}  // namespace
}  // namespace qb
