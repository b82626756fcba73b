// SPDX-License-Identifier: Apache-2.0
// Writes the bundled sample message into the folder given on the command line; with
// "--large N", also a winmail.dat of N attachments of 50 000 bytes and a .msg of N
// attachments of 100 000 bytes (for measurements); with "--bench", the benchmark's inputs:
// two sizes each of a large winmail.dat and a large .msg, and a folder of 5 000 small
// messages; with "--small N", only N of those small messages (in DIR/small); with
// "--hostile", the crafted hostile inputs at two sizes each (name-1, name-2).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/HostileInputs.h"
#include "support/SampleMessages.h"

namespace {

bool writeFile(const std::string& path, const std::string& data) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        std::perror(path.c_str());
        return false;
    }
    const bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
    if (std::fclose(f) != 0 || !ok) {
        std::perror(path.c_str());
        return false;
    }
    std::printf("%s\n", path.c_str());
    return true;
}

// `count` small messages, every other one a winmail.dat and a .msg of three attachments.
bool writeSmallMessages(const std::string& folder, int count) {
    const std::string smallTNEF = qb::test::sampleWinmail();
    const std::string smallMsg = qb::test::largeMsg(3, 3000);
    for (int i = 0; i < count; ++i) {
        const std::string name = folder + "/" + std::to_string(i);
        if (!(i % 2 ? writeFile(name + ".msg", smallMsg) : writeFile(name + ".dat", smallTNEF)))
            return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : ".";
    if (!writeFile(dir + "/winmail.dat", qb::test::sampleWinmail())) return 1;
    if (argc > 3 && std::strcmp(argv[2], "--large") == 0) {
        const size_t count = std::strtoul(argv[3], nullptr, 10);
        if (!writeFile(dir + "/large-winmail.dat", qb::test::largeWinmail(count, 50000))) return 1;
        if (!writeFile(dir + "/large.msg", qb::test::largeMsg(count, 100000))) return 1;
    }
    if (argc > 2 && std::strcmp(argv[2], "--bench") == 0) {
        using qb::test::largeMsg;
        using qb::test::largeWinmail;
        // Doubling attachments and recipients together: time should at most double.
        if (!writeFile(dir + "/tnef-1000.dat", largeWinmail(1000, 100000, 500)) ||
            !writeFile(dir + "/tnef-2000.dat", largeWinmail(2000, 100000, 1000)) ||
            !writeFile(dir + "/msg-500.msg", largeMsg(500, 200000)) ||
            !writeFile(dir + "/msg-1000.msg", largeMsg(1000, 200000)))
            return 1;
        if (!writeSmallMessages(dir + "/small", 5000)) return 1;
    }
    if (argc > 3 && std::strcmp(argv[2], "--small") == 0 &&
        !writeSmallMessages(dir + "/small", std::atoi(argv[3])))
        return 1;
    if (argc > 2 && std::strcmp(argv[2], "--hostile") == 0) {
        namespace t = qb::test;
        for (size_t k : {1, 2}) {
            const std::string n = "-" + std::to_string(k);
            if (!writeFile(dir + "/null-counts" + n + ".dat", t::zeroSizeValueCounts(2048 * k)) ||
                !writeFile(dir + "/read-on" + n + ".dat", t::propertyListsReadingOn(4000 * k)) ||
                !writeFile(dir + "/shared-sectors" + n + ".msg",
                           t::sharedSectorMsg(1000 * k, size_t(1) << 20)) ||
                !writeFile(dir + "/nested" + n + ".dat", t::nestedTNEF(28 * k, 1000)) ||
                !writeFile(dir + "/headers" + n + ".msg", t::manyHeaderNamesMsg(40000 * k)) ||
                !writeFile(dir + "/attachments" + n + ".dat", t::manyAttachments(20000 * k)) ||
                !writeFile(dir + "/deep-html" + n + ".dat", t::deepHTML(1000 * k)))
                return 1;
        }
    }
    return 0;
}
