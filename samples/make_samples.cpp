// Writes the bundled sample messages into the folder given on the command line.
#include <cstdio>
#include <string>

#include "support/SampleMessages.h"

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : ".";
    const std::string path = dir + "/winmail.dat";
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        std::perror(path.c_str());
        return 1;
    }
    const std::string data = qb::test::sampleWinmail();
    const bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
    if (std::fclose(f) != 0 || !ok) {
        std::perror(path.c_str());
        return 1;
    }
    std::printf("%s\n", path.c_str());
    return 0;
}
