// SPDX-License-Identifier: Apache-2.0
// Exports every TNEF and .msg file of the shared corpus: attachments, extraction folders
// and whole messages as .eml, read back by Python's email package and compared with the
// .eml files a peer tool wrote. Skipped when the corpus is not beside the checkout.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "OXMSG/OXMessage.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/ICSExporter.h"
#include "exporters/OLEObjectFile.h"
#include "exporters/TNEFMessageExporter.h"
#include "exporters/VCFExporter.h"
#include "mime/MimeTypes.h"
#include "model/MAPIArray.h"
#include "model/MessageDate.h"
#include "model/PropertyTags.h"
#include "platform/Digest.h"
#include "platform/FileData.h"
#include "support/Corpus.h"
#include "support/EmlReport.h"
#include "support/LogCapture.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

namespace fs = std::filesystem;

using test::corpusDir;

#define REQUIRE_CORPUS() \
    if (!fs::is_directory(corpusDir())) GTEST_SKIP() << "no corpus at " << corpusDir().string()

struct CorpusMessage {
    fs::path path;
    std::shared_ptr<OutlookMessage> message;
};

// Every corpus file that opens (one .msg is damaged beyond reading).
const std::vector<CorpusMessage>& corpusMessages() {
    static const std::vector<CorpusMessage> all = [] {
        std::vector<CorpusMessage> out;
        for (const char* kind : {"tnef", "msg"}) {
            std::vector<fs::path> files;
            for (const auto& e : fs::directory_iterator(corpusDir() / kind))
                if (e.is_regular_file()) files.push_back(e.path());
            std::sort(files.begin(), files.end());
            for (const auto& f : files) {
                test::LogCapture quiet;
                auto data = readFileData(f.string());
                if (!data) continue;
                std::shared_ptr<OutlookMessage> m;
                if (std::string(kind) == "msg")
                    m = OXMessage::create(*data);
                else
                    m = TNEFMessage::create(*data, nullptr, true, nullptr);
                if (m) out.push_back({f, m});
            }
        }
        return out;
    }();
    return all;
}

std::string lastComponent(std::string name) {
    if (const size_t slash = name.find_last_of('/'); slash != std::string::npos)
        name.erase(0, slash + 1);
    return name;
}

// The mailbox a reader of our .eml should see for an address: its name and Internet
// address, or only the name when there is no Internet address.
Dictionary expectedMailbox(const Address& a) {
    const std::string name = a.displayName().value_or("");
    const std::string addr = a.address().value_or("");
    const bool internet = addr.find('@') != std::string::npos && a.type().value_or("") != "EX" &&
                          addr.find(' ') == std::string::npos;
    if (internet) return Dictionary::array({name, addr});
    // An X.500 name gives way to the SMTP address the message holds for the person.
    if (auto smtp = a.smtpAddress(); smtp && looksLikeInternetAddress(*smtp))
        return Dictionary::array({name, *smtp});
    return Dictionary::array({name.empty() ? addr : name, ""});
}

Dictionary expectedMailboxes(const AddressList& list) {
    Dictionary out = Dictionary::array();
    for (const auto& a : list)
        if (a && a->email()) out.push_back(expectedMailbox(*a));
    return out;
}

std::optional<Bytes> olePart(const TNEFAttachment& a) {
    if (auto object = fileOfOLEObject(a)) return object->data;
    return std::nullopt;
}

// Checks Python's view of one of our messages against the message, recursively.
void checkReport(const Dictionary& r, const OutlookMessage& m, const std::string& where) {
    SCOPED_TRACE(where);
    EXPECT_TRUE(r["defects"].empty()) << r["defects"].dump();
    EXPECT_TRUE(r["headerDefects"].empty()) << r["headerDefects"].dump();
    const std::string subject = m.subject().value_or("");
    EXPECT_EQ(r["subject"], subject.empty() ? "message" : subject);
    if (auto s = m.sender(); s && s->email())
        EXPECT_EQ(r["from"], Dictionary::array({expectedMailbox(*s)}));
    else
        EXPECT_TRUE(r["from"].is_null());
    for (const auto& [key, list] :
         {std::pair{"to", &m.toRecipients()}, std::pair{"cc", &m.ccRecipients()}}) {
        if (list->empty())
            EXPECT_TRUE(r[key].is_null()) << key;
        else
            EXPECT_EQ(r[key], expectedMailboxes(*list)) << key;
    }
    // A calendar item's own calendar file first, then one part per attachment with content or
    // an embedded message, in order; attached calendar items are calendar files too, and the
    // changed occurrences of a series no part at all.
    size_t i = 0;
    auto calendarPart = [&] {
        ASSERT_LT(i, r["attachments"].size());
        EXPECT_EQ(r["attachments"][i++]["contentType"], "text/calendar");
    };
    if (ICSExporter::canHandleMessageClass(m.messageClass())) calendarPart();
    // A contact's own card comes first too.
    if (VCFExporter::canHandleMessageClass(m.messageClass())) {
        ASSERT_LT(i, r["attachments"].size());
        const Dictionary& card = r["attachments"][i++];
        EXPECT_EQ(card["contentType"], "text/vcard");
        EXPECT_EQ(card["sha256"], sha256Hex(*VCFExporter::create(m.shared_from_this())->data()));
    }
    for (const auto& a : m.attachments()) {
        auto embedded = a->nestedMessage();
        if (embedded && isCalendarException(*embedded)) continue;
        if (embedded && ICSExporter::canHandleMessageClass(embedded->messageClass())) {
            calendarPart();
        } else if (auto nested = embedded) {
            ASSERT_LT(i, r["attachments"].size());
            const Dictionary& part = r["attachments"][i++];
            EXPECT_EQ(part["contentType"], "message/rfc822");
            ASSERT_TRUE(part["message"].is_object());
            checkReport(part["message"], *nested, where + " > " + nested->subject().value_or(""));
        } else if (auto data = a->rawData() ? a->rawData() : olePart(*a)) {
            ASSERT_LT(i, r["attachments"].size());
            const Dictionary& part = r["attachments"][i++];
            if (part["contentType"] == "message/rfc822") {
                // A file that is itself a message (a signed message's MIME entity) travels
                // as one, unencoded.
                ASSERT_TRUE(part["message"].is_object());
                EXPECT_TRUE(part["message"]["defects"].empty());
                continue;
            }
            EXPECT_EQ(part["sha256"], sha256Hex(*data)) << part.dump();
            EXPECT_EQ(part["size"], data->size());
        }
    }
    EXPECT_EQ(i, r["attachments"].size());
}

TEST(ExportCorpus, AttachmentsKeepTheirBytesAndGetUsableNames) {
    REQUIRE_CORPUS();
    size_t checked = 0, named = 0;
    for (const auto& [path, message] : corpusMessages()) {
        SCOPED_TRACE(path.filename().string());
        test::LogCapture quiet;
        auto e = TNEFMessageExporter::create(message, nullptr, ExportMode::Files);
        for (const auto& x : e->attachmentExporters()) {
            auto file = std::dynamic_pointer_cast<AttachmentExporter>(x);
            if (!file) continue;
            const auto raw = file->attachment()->rawData();
            if (!raw) {
                // An OLE object: the file inside it (see TNEFCorpus for the one we have).
                EXPECT_TRUE(fileOfOLEObject(*file->attachment()));
                continue;
            }
            EXPECT_TRUE(*file->data() == *raw);
            std::string name = lastComponent(file->attachment()->filename().value_or(""));
            if (name.empty()) name = "Untitled Attachment";
            if (pathExtension(name).empty())
                name = filenameWithDetectedExtension(name, *raw), ++named;
            EXPECT_EQ(file->filename(), name);
            ++checked;
        }
    }
    EXPECT_GT(checked, 40u);
    EXPECT_GT(named, 0u);
}

TEST(ExportCorpus, EveryMessageBecomesAnEmlPythonReadsWithoutDefects) {
    REQUIRE_CORPUS();
    if (!test::havePythonEmail()) GTEST_SKIP() << "no python3";
    std::vector<std::string> emls;
    for (const auto& [path, message] : corpusMessages()) {
        test::LogCapture quiet;
        emls.push_back(
            TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822)->data()->str());
    }
    auto report = test::pythonEmlReport(emls);
    ASSERT_TRUE(report);
    for (size_t i = 0; i < emls.size(); ++i)
        checkReport((*report)[i], *corpusMessages()[i].message,
                    corpusMessages()[i].path.filename().string());
    EXPECT_GT(emls.size(), 60u);
}

std::vector<std::string> peerHashes(const Dictionary& attachments) {
    std::vector<std::string> out;
    for (const auto& a : attachments)
        if (a["contentType"] != "message/rfc822") out.push_back(a["sha256"]);
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<std::string> ourHashes(const OutlookMessage& m) {
    std::vector<std::string> out;
    for (const auto& a : m.attachments())
        if (auto data = a->rawData(); data && !a->nestedMessage()) out.push_back(sha256Hex(*data));
    std::sort(out.begin(), out.end());
    return out;
}

// Internet addresses, lower case; the peer's quoted display names and X.500 names left out.
std::vector<std::string> addresses(const Dictionary& mailboxes) {
    std::vector<std::string> out;
    if (!mailboxes.is_array()) return out;
    for (const auto& m : mailboxes) {
        std::string a = m[1];
        std::transform(a.begin(), a.end(), a.begin(), ::tolower);
        if (a.find('@') != std::string::npos && a.find_first_of("'\"/") == std::string::npos)
            out.push_back(a);
    }
    std::sort(out.begin(), out.end());
    return out;
}

// The peer writes the same attachments, subjects and Internet addresses, apart from the
// differences named here.
TEST(ExportCorpus, EmlAgreesWithThePeersEml) {
    REQUIRE_CORPUS();
    if (!test::havePythonEmail()) GTEST_SKIP() << "no python3";
    // A signed message's MIME entity: the peer writes it again as a part of its own (other
    // bytes); we carry the attachment's bytes as they are.
    const std::set<std::string> peerRewritesSignedEntity = {"logsat.com_signatures_valid.msg",
                                                            "msgconvert-gpg_signed.msg"};
    std::vector<std::string> ours, theirs, names;
    std::vector<std::shared_ptr<OutlookMessage>> messages;
    for (const auto& [path, message] : corpusMessages()) {
        const fs::path golden =
            corpusDir() / "golden" / "msg" / (path.filename().string() + ".eml");
        if (path.extension() != ".msg" || !fs::exists(golden)) continue;
        test::LogCapture quiet;
        ours.push_back(
            TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822)->data()->str());
        std::ifstream in(golden, std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        theirs.push_back(s.str());
        names.push_back(path.filename().string());
        messages.push_back(message);
    }
    auto a = test::pythonEmlReport(ours);
    auto b = test::pythonEmlReport(theirs);
    ASSERT_TRUE(a && b);
    size_t subjects = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(names[i]);
        const Dictionary &x = (*a)[i], &y = (*b)[i];
        if (peerRewritesSignedEntity.count(names[i]))
            EXPECT_EQ(ourHashes(*messages[i]).size(), peerHashes(y["attachments"]).size());
        else
            EXPECT_EQ(ourHashes(*messages[i]), peerHashes(y["attachments"]));
        // The peer writes 8-bit subjects unlabelled; those it could not label are skipped.
        const std::string peerSubject = y["subject"].is_string() ? y["subject"] : "";
        if (peerSubject.find("\xEF\xBF\xBD") == std::string::npos && !peerSubject.empty()) {
            EXPECT_EQ(x["subject"], peerSubject);
            ++subjects;
        }
        for (const char* key : {"from", "to", "cc"}) {
            // Recipients stored with Exchange (X.500) addresses get the SMTP addresses the
            // message holds for them, as the peer finds them too. The peer writes names like
            // 'a@b.c' or "Lee, Ann" unquoted, which readers then take for addresses or split: its
            // readable addresses must all be ours.
            const auto mine = addresses(x[key]), peer = addresses(y[key]);
            EXPECT_TRUE(std::includes(mine.begin(), mine.end(), peer.begin(), peer.end()))
                << key << ": " << x[key].dump() << " / " << y[key].dump();
        }
    }
    EXPECT_GT(names.size(), 40u);
    EXPECT_GT(subjects, 30u);
}

// Every .msg becomes the same .eml on every run, and Python finds in it the date and the
// thread fields the message holds.
TEST(ExportCorpus, EmlIsReproducibleAndCarriesDateAndThreadFields) {
    REQUIRE_CORPUS();
    std::vector<std::string> emls;
    std::vector<std::shared_ptr<OutlookMessage>> messages;
    for (const auto& [path, message] : corpusMessages()) {
        if (path.extension() != ".msg") continue;
        test::LogCapture quiet;
        auto again = OXMessage::create(*readFileData(path.string()));
        const std::string first =
            TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822)->data()->str();
        EXPECT_EQ(first,
                  TNEFMessageExporter::create(again, nullptr, ExportMode::RFC822)->data()->str())
            << path.filename();
        emls.push_back(first);
        messages.push_back(message);
    }
    EXPECT_GT(emls.size(), 40u);

    // The command line too: two runs, the same bytes.
    const fs::path msg = corpusDir() / "msg" / "msgconvert-charset.msg";
    const std::string cmd =
        std::string(QB_QUILLBOX_PATH) + " eml '" + msg.string() + "' | sha256sum";
    auto hash = [&] {
        std::string out;
        if (FILE* p = ::popen(cmd.c_str(), "r")) {
            char buf[128];
            while (size_t n = std::fread(buf, 1, sizeof buf, p))
                out.append(buf, n);
            ::pclose(p);
        }
        return out;
    };
    const std::string first = hash();
    EXPECT_EQ(first.size(), 68u);
    EXPECT_EQ(first, hash());

    if (!test::havePythonEmail()) GTEST_SKIP() << "no python3";
    auto report = test::pythonEmlReport(emls);
    ASSERT_TRUE(report);
    size_t dated = 0, identified = 0;
    for (size_t i = 0; i < emls.size(); ++i) {
        const OutlookMessage& m = *messages[i];
        const Dictionary& r = (*report)[i];
        SCOPED_TRACE(m.subject().value_or(""));
        if (auto date = messageDate(m)) {
            EXPECT_EQ(r["date"], formatRFC2822(*date));
            ++dated;
        } else {
            EXPECT_TRUE(r["date"].is_null());
        }
        for (auto [key, tag] : {std::pair{"messageId", PR_INTERNET_MESSAGE_ID},
                                std::pair{"inReplyTo", PR_IN_REPLY_TO_ID},
                                std::pair{"references", PR_INTERNET_REFERENCES}}) {
            auto value = stringForProperty(m.mapiprops(), tag);
            if (value && !value->empty()) {
                // A long identifier goes on a line of its own, whose leading space Python keeps.
                std::string seen = r[key].is_string() ? r[key].get<std::string>() : "";
                seen.erase(0, seen.find_first_not_of(' '));
                EXPECT_EQ(seen, *value) << key;
                identified += std::string(key) == "messageId";
            } else {
                EXPECT_TRUE(r[key].is_null()) << key;
            }
        }
    }
    EXPECT_GT(dated, 35u);
    EXPECT_GT(identified, 10u);
}

// Every file a peer tool writes for a corpus file, `extract` writes with the same bytes
// (the peers' own re-encodings of embedded messages aside).
TEST(ExportCorpus, ExtractWritesEveryFileThePeersWrite) {
    REQUIRE_CORPUS();
    const fs::path out =
        fs::temp_directory_path() / ("qb-extract-peers-" + std::to_string(::getpid()));
    size_t compared = 0;
    for (const char* kind : {"tnef", "msg"}) {
        for (const auto& entry : fs::directory_iterator(corpusDir() / kind)) {
            const fs::path file = entry.path();
            const fs::path goldenFile =
                corpusDir() / "golden" / kind / (file.filename().string() + ".json");
            if (!fs::exists(goldenFile) || file.extension() == ".eml") continue;
            std::ifstream in(goldenFile);
            const Dictionary g = Dictionary::parse(in);
            std::multiset<std::string> peer;
            for (const char* tool : {"tnef", "ytnef"})
                if (g.contains(tool) && g[tool].value("ok", false))
                    for (const auto& f : g[tool]["files"])
                        peer.insert(f["sha256"].get<std::string>());
            if (g.contains("msgreader") && g["msgreader"].value("ok", false))
                for (const auto& a : g["msgreader"]["attachments"])
                    if (!a.value("embedded", false) && a["sha256"].is_string())
                        peer.insert(a["sha256"].get<std::string>());
            if (g.contains("msgconvert") && g["msgconvert"].value("ok", false))
                for (const auto& a : g["msgconvert"]["attachments"])
                    if (a["contentType"] != "message/rfc822" && a["sha256"].is_string())
                        peer.insert(a["sha256"].get<std::string>());
            if (peer.empty()) continue;

            const fs::path dir = out / file.filename();
            fs::create_directories(dir);
            const std::string cmd = std::string(QB_QUILLBOX_PATH) + " extract -o '" + dir.string() +
                                    "' '" + file.string() + "' >/dev/null 2>&1";
            (void)std::system(cmd.c_str());
            std::set<std::string> ours;
            for (const auto& f : fs::recursive_directory_iterator(dir))
                if (f.is_regular_file()) ours.insert(sha256Hex(*readFileData(f.path().string())));
            const std::string name = file.filename().string();
            for (const auto& hash : peer) {
                // The peer writes the whole OLE object; we write the file packed in it.
                if (name == "MAPI_OBJECT.tnef") continue;
                // A signed message's entity, which one peer writes with a CRLF added.
                if ((name == "logsat.com_signatures_valid.msg" ||
                     name == "msgconvert-gpg_signed.msg") &&
                    !ours.count(hash))
                    continue;
                EXPECT_TRUE(ours.count(hash)) << name << ": " << hash;
                ++compared;
            }
        }
    }
    fs::remove_all(out);
    EXPECT_GT(compared, 60u);
}

TEST(ExportCorpus, ExtractWritesEveryAttachment) {
    REQUIRE_CORPUS();
    const fs::path out =
        fs::temp_directory_path() / ("qb-extract-corpus-" + std::to_string(::getpid()));
    std::string args;
    for (const auto& [path, message] : corpusMessages())
        args += " '" + path.string() + "'";
    const std::string cmd = std::string(QB_QUILLBOX_PATH) + " extract -o " + out.string() + args +
                            " >/dev/null 2>" + (out.string() + ".err");
    const int raw = std::system(cmd.c_str());
    // Some corpus files carry bytes after their last record: read in part, status 3.
    EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 3);

    for (const auto& [path, message] : corpusMessages()) {
        SCOPED_TRACE(path.string());
        // Folders are named after the file without its extension, numbered when taken.
        std::map<std::string, int> written;
        std::string stem = path.stem().string();
        for (const auto& e : fs::directory_iterator(out)) {
            const std::string dir = e.path().filename().string();
            if (dir != stem && dir.rfind(stem + " (", 0) != 0) continue;
            for (const auto& f : fs::directory_iterator(e.path())) {
                auto data = readFileData(f.path().string());
                ASSERT_TRUE(data);
                ++written[sha256Hex(*data)];
            }
        }
        for (const auto& a : message->attachments()) {
            if (a->nestedMessage()) continue;
            if (auto data = a->rawData()) {
                EXPECT_GT(written[sha256Hex(*data)], 0);
            }
        }
    }

    // The embedded messages it wrote as .eml files read without defects too.
    std::vector<std::string> emls;
    for (const auto& e : fs::recursive_directory_iterator(out)) {
        if (e.path().extension() != ".eml") continue;
        std::ifstream in(e.path(), std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        emls.push_back(text.str());
    }
    EXPECT_GE(emls.size(), 4u);
    if (auto report = test::pythonEmlReport(emls)) {
        for (const auto& r : *report) {
            EXPECT_TRUE(r["defects"].empty()) << r.dump();
            EXPECT_TRUE(r["headerDefects"].empty()) << r.dump();
        }
    }
    fs::remove_all(out);
    fs::remove(out.string() + ".err");
}

}  // namespace
}  // namespace qb
