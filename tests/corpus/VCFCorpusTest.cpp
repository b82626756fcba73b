// SPDX-License-Identifier: Apache-2.0
// Every contact and distribution list in the corpus, as cards of both versions, read back by
// Python's vobject with the names, numbers, addresses and postal address the item holds.
#include <gtest/gtest.h>

#include <filesystem>

#include "api/OpenMessage.h"
#include "exporters/VCFExporter.h"
#include "support/Corpus.h"
#include "support/TestFolder.h"
#include "support/VCardReport.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

struct Item {
    std::string folder, name;
    std::shared_ptr<OutlookMessage> message;
    VCardVersion version;
    std::string text;
};

Dictionary strings(const std::vector<std::string>& v) {
    Dictionary out = Dictionary::array();
    for (const auto& s : v)
        out.push_back(s);
    return out;
}

TEST(VCFCorpus, EveryContactReadsBackInVobject) {
    const fs::path corpus = test::corpusDir();
    if (!fs::is_directory(corpus)) GTEST_SKIP() << "no corpus";
    if (!test::haveVobject()) GTEST_SKIP() << "python3-vobject missing";
    std::vector<Item> items;
    for (const char* folder : {"msg", "tnef"}) {
        for (const auto& entry : fs::directory_iterator(corpus / folder)) {
            if (entry.path().extension() == ".eml") continue;
            auto opened = openMessage(Bytes::adoptString(test::slurp(entry.path())));
            if (!opened || !VCFExporter::canHandleMessageClass(opened->message->messageClass()))
                continue;
            for (VCardVersion v : {VCardVersion::V21, VCardVersion::V40})
                items.push_back({folder, entry.path().filename().string(), opened->message, v,
                                 VCFExporter::create(opened->message, v)->data()->str()});
        }
    }
    ASSERT_GE(items.size(), 6u) << "the corpus holds three contacts";

    std::vector<std::string> texts;
    for (const auto& item : items)
        texts.push_back(item.text);
    auto report = test::vobjectReport(texts);
    ASSERT_TRUE(report);
    for (size_t i = 0; i < items.size(); ++i) {
        const Item& item = items[i];
        const bool v4 = item.version == VCardVersion::V40;
        SCOPED_TRACE(item.name + (v4 ? " 4.0" : " 2.1"));
        const Dictionary& cards = (*report)[i];
        ASSERT_TRUE(cards.is_array()) << cards.dump() << "\n" << item.text;
        const auto members = VCFExporter::create(item.message)->distributionListMembers();
        if (item.message->messageClass()->starts_with("IPM.DistList")) {
            ASSERT_EQ(cards.size(), members.size());
            for (size_t m = 0; m < members.size(); ++m) {
                EXPECT_EQ(cards[m].at("fn"), members[m].displayName);
                EXPECT_EQ(cards[m].at("email"), strings({members[m].emailAddress}));
            }
            continue;
        }
        ASSERT_EQ(cards.size(), 1u);
        const Dictionary& c = cards[0];
        const ContactCard card = contactCardOf(*item.message);
        if (card.fullName) {
            EXPECT_EQ(c.at("fn"), *card.fullName);
        }
        EXPECT_EQ(c.at("n"), strings({card.name.begin(), card.name.end()}));
        std::vector<std::string> tels;
        for (const auto& p : card.phones)
            tels.push_back(v4 ? telURI(p.number).value_or(p.number) : p.number);
        ASSERT_EQ(c.at("tel").size(), tels.size());
        for (size_t t = 0; t < tels.size(); ++t)
            EXPECT_EQ(c.at("tel")[t][0], tels[t]);
        std::vector<std::string> emails;
        for (const auto& e : card.emails)
            emails.push_back(e.address);
        EXPECT_EQ(c.at("email"), strings(emails));
        const auto& a = card.address;
        // The 2.1 address has six parts (no extended address); vobject reads it by the seven
        // places of the later versions.
        const std::vector<std::string> adr =
            v4 ? std::vector<std::string>{a[0], "", a[1], a[2], a[3], a[4], a[5]}
               : std::vector<std::string>{a[0], a[1], a[2], a[3], a[4], a[5], ""};
        if (!v4 || adr != std::vector<std::string>(7)) {
            EXPECT_EQ(c.at("adr"), strings(adr));
        }
        // Something real was read: a number or address, and the name holds the subject a peer
        // tool read from the same file.
        EXPECT_FALSE(tels.empty() && emails.empty());
        const fs::path golden = corpus / "golden" / item.folder / (item.name + ".json");
        if (fs::exists(golden)) {
            const Dictionary peer = Dictionary::parse(test::slurp(golden));
            const Dictionary subject =
                peer.value("msgreader", Dictionary::object()).value("subject", Dictionary());
            if (subject.is_string()) {
                EXPECT_NE(c.at("fn").get<std::string>().find(subject.get<std::string>()),
                          std::string::npos)
                    << subject;
            }
        }
    }
}

}  // namespace
}  // namespace qb
