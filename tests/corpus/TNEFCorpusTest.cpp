// SPDX-License-Identifier: Apache-2.0
// Reads every TNEF file of the shared corpus and compares with what peer tools report.
// Skipped when the corpus is not beside the checkout.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "exporters/AttachmentExporter.h"
#include "model/CompressedRTF.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/Dictionary.h"
#include "platform/Digest.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/LogCapture.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

using test::corpusDir;

#define REQUIRE_CORPUS()                                         \
    if (!fs::is_directory(corpusDir() / "tnef")) {               \
        GTEST_SKIP() << "no corpus at " << corpusDir().string(); \
    }

struct Expected {
    const char* file;
    size_t attachmentGroups;
    const char* messageAttributes;  // names, in stream order
};

const Expected kExpected[] = {
    {"MAPI_ATTACH_DATA_OBJ.tnef", 3, "attTnefVersion attOemCodepage attMAPIProps"},
    {"MAPI_OBJECT.tnef", 1,
     "attTnefVersion attOemCodepage attMessageClass attDateSent attDateModified attMessageID "
     "attSubject attPriority attMAPIProps"},
    {"body.tnef", 0,
     "attTnefVersion attOemCodepage attPriority attDateSent attDateModified attMessageID "
     "attRecipTable attMAPIProps"},
    {"bug52400-winmail-simple.dat", 0,
     "attTnefVersion attOemCodepage attMessageID attPriority attDateSent attDateModified "
     "attRecipTable attMAPIProps"},
    {"bug52400-winmail-with-attachments.dat", 2,
     "attTnefVersion attOemCodepage attMessageID attPriority attDateSent attDateModified "
     "attRecipTable attMAPIProps"},
    {"data-before-name.tnef", 3,
     "attTnefVersion attOemCodepage attMessageClass attPriority attDateRecd attMAPIProps"},
    {"garbage-at-end.tnef", 0,
     "attTnefVersion attOemCodepage attMessageClass attPriority attParentID attMAPIProps"},
    {"long-filename.tnef", 1,
     "attTnefVersion attOemCodepage attMessageClass attDateSent attOriginalMessageClass "
     "attDateModified attMessageID attSubject attPriority attMAPIProps"},
    {"missing-filenames.tnef", 4,
     "attTnefVersion attOemCodepage attMessageClass attDateSent attDateModified attMessageID "
     "attSubject attPriority attMAPIProps"},
    {"multi-name-property.tnef", 0, "attTnefVersion attOemCodepage attMAPIProps"},
    {"multi-value-attribute.tnef", 1, "attTnefVersion attOemCodepage attMessageClass attMAPIProps"},
    {"one-file.tnef", 1,
     "attTnefVersion attOemCodepage attMessageClass attMessageID attOriginalMessageClass "
     "attDateModified attDateSent attSubject attPriority attMAPIProps"},
    {"oom.tnef", 0, "attMAPIProps"},
    {"quick-winmail.dat", 5, "attTnefVersion attOemCodepage attMessageClass attMAPIProps"},
    {"rtf.tnef", 0,
     "attTnefVersion attOemCodepage attMessageClass attMessageID attDateModified attDateSent "
     "attSubject attPriority attMAPIProps"},
    {"two-files.tnef", 2,
     "attTnefVersion attOemCodepage attMessageClass attMessageID attOriginalMessageClass "
     "attDateModified attDateSent attSubject attPriority attMAPIProps"},
    {"umlaut-filename.tnef", 1, "attTnefVersion attOemCodepage attMessageClass attMAPIProps"},
    {"unicode-mapi-attr.tnef", 1,
     "attTnefVersion attOemCodepage attMessageID attPriority attDateSent attDateModified "
     "attMessageClass attSubject attMAPIProps"},
    {"ytnef-winmail.dat", 2,
     "attTnefVersion attOemCodepage attMessageClass attPriority attDateRecd attMAPIProps"},
};

std::shared_ptr<TNEFMessage> open(const std::string& file, TNEFError* error = nullptr) {
    test::LogCapture quiet;  // some files end in bytes that are no record
    auto data = readFileData((corpusDir() / "tnef" / file).string());
    if (!data) return nullptr;
    return TNEFMessage::create(*data, nullptr, error);
}

Dictionary golden(const std::string& file) {
    std::ifstream in(corpusDir() / "golden" / "tnef" / (file + ".json"));
    return Dictionary::parse(in);
}

TEST(TNEFCorpus, EveryFileReadsWithItsAttributesAndGroups) {
    REQUIRE_CORPUS();
    size_t files = 0;
    for (const auto& entry : fs::directory_iterator(corpusDir() / "tnef")) {
        const std::string file = entry.path().filename().string();
        auto it = std::find_if(std::begin(kExpected), std::end(kExpected),
                               [&](const Expected& e) { return file == e.file; });
        ASSERT_NE(it, std::end(kExpected)) << "no expectation for " << file;
        TNEFError error;
        auto m = open(file, &error);
        ASSERT_TRUE(m) << file;
        EXPECT_EQ(error.code, 0) << file;
        std::string names;
        for (const auto& a : m->attributes())
            names += (names.empty() ? "" : " ") + a->nameString();
        EXPECT_EQ(names, it->messageAttributes) << file;
        EXPECT_EQ(m->attachments().size(), it->attachmentGroups) << file;
        ++files;
    }
    EXPECT_EQ(files, std::size(kExpected));
}

TEST(TNEFCorpus, RTFBodiesMatchThePeersAndTheirCRC) {
    REQUIRE_CORPUS();
    size_t compared = 0;
    for (const Expected& e : kExpected) {
        const Dictionary g = golden(e.file);
        const auto& peer = g["tnef"]["rtfSha256"];
        auto m = open(e.file);
        auto prop = m->mapiprops() ? findPropID(*m->mapiprops(), 0x1009, PT_BINARY) : nullptr;
        if (!peer.is_string()) {
            EXPECT_FALSE(prop) << e.file;
            continue;
        }
        ASSERT_TRUE(prop) << e.file;
        auto stream = prop->value()->variableBytes();
        ASSERT_TRUE(stream) << e.file;
        auto checked = decompressRTF(*stream, /*ignoreChecksum=*/false);
        ASSERT_TRUE(checked) << e.file << ": CRC does not check out";
        EXPECT_TRUE(checked->view().starts_with("{\\rtf")) << e.file;
        EXPECT_EQ(sha256Hex(*checked), peer.get<std::string>()) << e.file;
        EXPECT_EQ(checked->size(), g["tnef"]["rtfLength"].get<size_t>()) << e.file;
        ++compared;
    }
    EXPECT_EQ(compared, 10u);
}

TEST(TNEFCorpus, AttachmentNamesAndBytesMatchThePeers) {
    REQUIRE_CORPUS();
    for (const Expected& e : kExpected) {
        const Dictionary g = golden(e.file);
        if (!g["tnef"].value("ok", false)) continue;  // oom.tnef: the peer gave up
        std::multimap<std::string, std::string> peer, ours;
        for (const auto& f : g["tnef"]["files"])
            peer.emplace(f["name"].get<std::string>(), f["sha256"].get<std::string>());
        auto m = open(e.file);
        for (const auto& a : m->attachments()) {
            auto data = a->rawData();
            ours.emplace(a->filename().value_or(""), data ? sha256Hex(*data) : "no data");
        }
        if (std::string(e.file) == "MAPI_OBJECT.tnef") {
            // Its one attachment is an OLE storage object without CONTENTS: the attachment
            // itself has no content (the peer writes the whole object), the exporter writes
            // the file packed inside it, under its own name.
            ASSERT_EQ(ours.size(), 1u);
            EXPECT_EQ(ours.begin()->first, peer.begin()->first);
            EXPECT_EQ(ours.begin()->second, "no data");
            auto file = AttachmentExporter::create(m->attachments()[0]);
            ASSERT_TRUE(file);
            EXPECT_EQ(file->filename(), "AsNew Staff pricelist Oct 02.pdf");
            EXPECT_EQ(file->data()->size(), 615889u);
            EXPECT_EQ(file->data()->view().substr(0, 8), "%PDF-1.2");
            EXPECT_EQ(file->data()->view().substr(615889 - 5), "%%EOF");
            continue;
        }
        EXPECT_EQ(ours, peer) << e.file;
    }
}

TEST(TNEFCorpus, NonASCIITextDecodes) {
    REQUIRE_CORPUS();
    auto umlaut = open("umlaut-filename.tnef");
    EXPECT_EQ(umlaut->attachments()[0]->filename(), "döcument.pdf");
    auto norwegian = open("MAPI_ATTACH_DATA_OBJ.tnef");
    EXPECT_EQ(norwegian->subject(), "Bodø-damer på vei!");
    auto unicode = open("unicode-mapi-attr.tnef");
    EXPECT_EQ(unicode->sender()->email(), "Administrator <Administrator@exchange.local>");
}

}  // namespace
}  // namespace qb
