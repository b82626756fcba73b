// SPDX-License-Identifier: Apache-2.0
// Every calendar item of the shared corpus (top-level or attached) as an .ics file, read back
// by Python's icalendar package (tests/corpus/check_ics.py) and checked against the item's own
// start, end, all-day flag and recurrence pattern. Skipped without the corpus or the package.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "OXMSG/OXMessage.h"
#include "exporters/ICSExporter.h"
#include "model/AppointmentRecurrence.h"
#include "model/NamedProperties.h"
#include "model/PropertyTags.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "support/TestFolder.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

constexpr size_t kCheckedOccurrences = 5;
constexpr int kMaxDepth = 8;

bool havePythonICalendar() {
    static const bool ok =
        std::system("/usr/bin/python3 -c 'import icalendar, dateutil' >/dev/null 2>&1") == 0;
    return ok;
}

std::string localText(Date d) {
    std::string s = formatRFC3339(d);
    s.pop_back();  // the "Z": a wall-clock time
    return s;
}

// What the item itself says, for the checker.
Dictionary expectationsOf(const OutlookMessage& m) {
    const MAPIPropList* props = m.mapiprops();
    Dictionary d = Dictionary::object();
    if (auto s = dateForNamedProperty(props, {PSETID_Appointment, 0x820D, PT_SYSTIME}))
        d["start"] = formatRFC3339(*s);
    if (auto e = dateForNamedProperty(props, {PSETID_Appointment, 0x820E, PT_SYSTIME}))
        d["end"] = formatRFC3339(*e);
    d["allDay"] =
        boolForNamedProperty(props, {PSETID_Appointment, 0x8215, PT_BOOLEAN}).value_or(false);
    d["occurrences"] = Dictionary::array();
    if (auto blob = bytesForNamedProperty(props, {PSETID_Appointment, 0x8216, PT_BINARY}))
        if (auto r = readAppointmentRecurrence(*blob, m.encoding()))
            for (Date when : r->firstOccurrences(kCheckedOccurrences))
                d["occurrences"].push_back(localText(when));
    return d;
}

void collectCalendarItems(
    const std::shared_ptr<OutlookMessage>& m, const std::string& name, int depth,
    std::vector<std::pair<std::string, std::shared_ptr<OutlookMessage>>>& out) {
    if (!m || depth > kMaxDepth) return;
    if (ICSExporter::canHandleMessageClass(m->messageClass())) out.emplace_back(name, m);
    int index = 0;
    for (const auto& a : m->attachments()) {
        ++index;
        if (a)
            collectCalendarItems(a->nestedMessage(), name + "-" + std::to_string(index), depth + 1,
                                 out);
    }
}

TEST(CalendarCorpus, EveryCalendarItemIsAValidCalendarWithTheItemsTimes) {
    if (!fs::is_directory(test::corpusDir())) GTEST_SKIP() << "no corpus";
    if (!havePythonICalendar()) GTEST_SKIP() << "no python3-icalendar";
    std::vector<std::pair<std::string, std::shared_ptr<OutlookMessage>>> items;
    for (const char* kind : {"tnef", "msg"}) {
        for (const auto& e : fs::directory_iterator(test::corpusDir() / kind)) {
            if (!e.is_regular_file()) continue;
            test::LogCapture quiet;
            auto data = readFileData(e.path().string());
            if (!data) continue;
            std::shared_ptr<OutlookMessage> m;
            if (std::string(kind) == "msg")
                m = OXMessage::create(*data);
            else
                m = TNEFMessage::create(*data, nullptr, true, nullptr);
            collectCalendarItems(m, e.path().filename().string(), 0, items);
        }
    }
    // The corpus holds an .msg appointment and a TNEF all-day appointment at least.
    ASSERT_GE(items.size(), 2u);

    const fs::path dir = test::makeTestFolder("calendar-corpus");
    for (const auto& [name, m] : items) {
        auto ics = ICSExporter::create(m, nullptr);
        ASSERT_TRUE(ics && ics->data()) << name;
        std::ofstream(dir / (name + ".ics"), std::ios::binary) << ics->data()->view();
        std::ofstream(dir / (name + ".json")) << expectationsOf(*m).dump();
    }
    const fs::path script = fs::path(QB_SOURCE_DIR) / "tests" / "corpus" / "check_ics.py";
    const std::string cmd = "/usr/bin/python3 " + script.string() + " " + dir.string() + " 2>&1";
    std::string output;
    int status = -1;
    if (FILE* p = ::popen(cmd.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, p)) > 0)
            output.append(buf, n);
        status = ::pclose(p);
    }
    EXPECT_EQ(status, 0) << output;
    EXPECT_NE(output.find(std::to_string(items.size()) + " passed, 0 failed"), std::string::npos)
        << output;
    fs::remove_all(dir);
}

}  // namespace
}  // namespace qb
