// SPDX-License-Identifier: Apache-2.0
// The From, To and Cc lines of every transport header block in the .msg corpus, parsed by
// our scanner and by Python's standard email.headerregistry: the mailboxes must agree.
// Skipped without the corpus or without python3.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "OXMSG/OXMessage.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "model/MAPIArray.h"
#include "platform/Dictionary.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPythonScript = R"(
import json, sys
from email.policy import default
out = []
for item in json.load(open(sys.argv[1])):
    h = default.header_factory(item['field'], item['value'])
    out.append([[a.display_name, a.addr_spec] for a in h.addresses])
json.dump(out, open(sys.argv[2], 'w'))
)";

TEST(HeaderParsingCorpus, MailboxesAgreeWithPythonsParser) {
    const fs::path msgDir = test::corpusDir() / "msg";
    if (!fs::is_directory(msgDir)) GTEST_SKIP() << "no corpus";
    if (std::system("python3 -c 'import email.headerregistry' >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "no python3";

    Dictionary items = Dictionary::array();
    for (const auto& entry : fs::directory_iterator(msgDir)) {
        if (entry.path().extension() != ".msg") continue;
        test::LogCapture quiet;
        auto data = readFileData(entry.path().string());
        auto m = data ? OXMessage::create(*data) : nullptr;
        if (!m) continue;
        auto headers = stringForProperty(m->mapiprops(), 0x007D001E);
        if (!headers) continue;
        const MKMimeHeaders parsed = MKMimeHeadersParser::parse(*headers);
        for (const auto& [name, values] : parsed.headerDictionary()) {
            std::string field = name;
            for (auto& c : field)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (field != "from" && field != "to" && field != "cc") continue;
            for (const auto& v : values)
                items.push_back(
                    {{"file", entry.path().filename().string()}, {"field", name}, {"value", v}});
        }
    }
    ASSERT_GT(items.size(), 20u);

    const fs::path dir = fs::temp_directory_path() / ("qb-headers-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::ofstream(dir / "in.json") << items.dump();
    std::ofstream(dir / "parse.py") << kPythonScript;
    const std::string cmd = "python3 " + (dir / "parse.py").string() + " " +
                            (dir / "in.json").string() + " " + (dir / "out.json").string();
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    std::ifstream in(dir / "out.json");
    const Dictionary python = Dictionary::parse(in);
    fs::remove_all(dir);

    ASSERT_EQ(python.size(), items.size());
    size_t mailboxes = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string value = items[i]["value"];
        SCOPED_TRACE(items[i]["file"].get<std::string>() + " " +
                     items[i]["field"].get<std::string>() + ": " + value);
        test::LogCapture quiet;
        const auto ours = MKEmailAddress::emailAddressesFromHeaderValue(value);
        ASSERT_EQ(ours.size(), python[i].size());
        for (size_t k = 0; k < ours.size(); ++k) {
            const std::string address = ours[k].addrSpec().value_or("");
            EXPECT_EQ(address, python[i][k][1].get<std::string>());
            const std::string name = ours[k].addressComment().value_or("");
            EXPECT_EQ(name, python[i][k][0].get<std::string>());
            ++mailboxes;
        }
    }
    EXPECT_GT(mailboxes, 30u);
}

}  // namespace
}  // namespace qb
