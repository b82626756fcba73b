// SPDX-License-Identifier: Apache-2.0
// A program built on the installed libqbcore: for each file given (TNEF or .msg, whatever its
// name), its subject, its sender and the names of its attachments.
#include <qbcore/qbcore.h>

#include <cstdio>
#include <string>

namespace {

// "Name <address>", or whichever of the two the message has.
std::string personText(const qb::Address& person) {
    const std::string name = person.displayName().value_or("");
    const std::string email = person.email().value_or("");
    if (!name.empty() && !email.empty()) return name + " <" + email + ">";
    return name.empty() ? email : name;
}

// One line per fact, so that a script can compare them with `quillbox info --json`.
int summarise(const std::string& path) {
    auto data = qb::readInput(path);
    if (!data) {
        std::fprintf(stderr, "message-summary: %s\n", data.error().message(path).c_str());
        return 1;
    }
    auto opened = qb::openMessage(*data);
    if (!opened) {
        std::fprintf(stderr, "message-summary: %s\n", opened.error().message(path).c_str());
        return 1;
    }
    const qb::OutlookMessage& message = *opened->message;
    std::printf("file: %s\n", path.c_str());
    std::printf("format: %s\n", qb::formatName(opened->format));
    if (auto subject = message.subject()) std::printf("subject: %s\n", subject->c_str());
    if (auto sender = message.sender()) std::printf("sender: %s\n", personText(*sender).c_str());
    for (const auto& attachment : message.attachments())
        std::printf("attachment: %s\n", attachment->filename().value_or("(no name)").c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: message-summary FILE...   (libqbcore %s)\n",
                     qb::libraryVersion());
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i)
        status |= summarise(argv[i]);
    return status;
}
