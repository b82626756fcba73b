// SPDX-License-Identifier: Apache-2.0
// Runs the quillbox executable as a user would, on files the tests write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "platform/Dictionary.h"
#include "platform/Digest.h"
#include "support/CompoundFileWriter.h"
#include "support/EmlReport.h"
#include "support/MsgWriter.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"
#include "support/TestFolder.h"

namespace qb {
namespace {

namespace fs = std::filesystem;
using test::slurp;
using testing::HasSubstr;

using test::RunResult;

class Quillbox : public testing::Test {
  protected:
    void SetUp() override {
        dir_ = test::makeTestFolder("quillbox-test");
        sample_ = write("winmail.dat", test::sampleWinmail());
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string write(const std::string& name, const std::string& bytes) {
        const fs::path p = dir_ / name;
        std::ofstream(p, std::ios::binary) << bytes;
        return p.string();
    }

    // Runs quillbox with `args` (already shell-safe), standard input from `input`.
    RunResult run(const std::string& args, const std::string& input = "") {
        return test::runCommand(dir_, std::string(QB_QUILLBOX_PATH) + " " + args, input);
    }

    fs::path dir_;
    std::string sample_;
};

TEST_F(Quillbox, DumpShowsAttributesPropertiesAndNestedMessages) {
    RunResult r = run("dump " + sample_);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_THAT(r.out, HasSubstr("encoding: windows-1252\n"));
    EXPECT_THAT(r.out, HasSubstr("    attSubject atpString length 15: \"Grüße aus Köln\"\n"));
    EXPECT_THAT(r.out,
                HasSubstr("        PR_SUBJECT_W PT_UNICODE: \"Grüße aus Köln: the Q1 numbers\"\n"));
    EXPECT_THAT(
        r.out, HasSubstr("        row 3:\n            PR_DISPLAY_NAME PT_STRING8: \"Carla Diaz\""));
    EXPECT_THAT(r.out, HasSubstr("PR_RTF_COMPRESSED PT_BINARY: RTF \"{\\\\rtf1\\\\ansi"));
    // The embedded message's own attachment, two levels in.
    EXPECT_THAT(
        r.out,
        HasSubstr("                    PR_ATTACH_LONG_FILENAME PT_STRING8: \"report.csv\"\n"));
}

TEST_F(Quillbox, ReadsStandardInput) {
    RunResult r = run("dump -", test::sampleWinmail());
    EXPECT_EQ(r.status, 0);
    EXPECT_THAT(r.out, HasSubstr("-: tnef\n"));
}

TEST_F(Quillbox, BadInputGivesOneLineAndStatusOne) {
    const std::string empty = write("empty.dat", "");
    const std::string text = write("notes.txt", "just some text, no TNEF here");
    std::string cut = test::sampleWinmail();
    cut.resize(cut.size() / 2);
    const std::string truncated = write("cut.dat", cut);

    RunResult r = run("dump " + empty);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "quillbox: " + empty + ": The file \"" + empty +
                         "\" could not be opened because it is empty.\n");
    r = run("dump " + text);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "quillbox: " + text +
                  ": It may be damaged or use a file format that Quillbox doesn't recognize.\n");
    // What could be read is shown; where reading stopped is a warning, and status 3.
    r = run("dump " + truncated);
    EXPECT_EQ(r.status, 3);
    EXPECT_THAT(r.out, HasSubstr("attMessageClass"));
    EXPECT_THAT(r.err, testing::MatchesRegex("quillbox: " + truncated +
                                             ": warning: reading stopped at a record that runs "
                                             "past the end of the data \\(at offset [0-9]+\\)\n"));
    r = run("dump " + (dir_ / "missing.dat").string());
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("No such file or directory"));

    // One bad file among good ones fails the run but not the others.
    r = run("info " + sample_ + " " + text + " " + sample_);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n') > 10, true);
}

TEST_F(Quillbox, RTFBody) {
    const fs::path out = dir_ / "body.rtf";
    RunResult r = run("rtf " + sample_ + " -o " + out.string());
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(slurp(out), "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");
    r = run("rtf " + sample_);
    EXPECT_EQ(r.out, "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");

    // The page extract writes for it, and its text.
    r = run("rtf --html " + sample_);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("<meta charset=\"utf-8\">"));
    EXPECT_THAT(r.out, HasSubstr("font-size: 14pt;\">hello world</span>"));
    r = run("rtf --text " + sample_);
    EXPECT_EQ(r.out, "hello world\n");
    EXPECT_EQ(run("rtf --html --text " + sample_).status, 2);

    const std::string plain = write("plain.dat", test::TNEFWriter().subject("no rtf").str());
    r = run("rtf " + plain);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "quillbox: " + plain + ": the message has no RTF body\n");
}

TEST_F(Quillbox, LibraryLogLinesNameTheFile) {
    // A record of a level that does not exist is logged by the reader while it reads.
    const std::string odd =
        write("odd.dat", test::TNEFWriter().subject("s").attr(0x0A, 0x8004, 2, "x").str());
    RunResult r = run("info " + odd);
    EXPECT_THAT(r.err, HasSubstr("quillbox: " + odd + ": Invalid TNEF level type: \\x0a"));
}

TEST_F(Quillbox, InfoJSONFollowsTheSchema) {
    const std::string text = write("notes.txt", "no TNEF");
    RunResult r = run("info --json " + sample_ + " " + text);
    EXPECT_EQ(r.status, 1);
    std::istringstream lines(r.out);
    std::string first, second;
    std::getline(lines, first);
    std::getline(lines, second);
    const Dictionary ok = Dictionary::parse(first);
    EXPECT_EQ(ok["file"], sample_);
    EXPECT_EQ(ok["format"], "tnef");
    const Dictionary& m = ok["message"];
    std::vector<std::string> keys;
    for (const auto& [k, v] : m.items())
        keys.push_back(k);
    EXPECT_THAT(keys,
                testing::ElementsAre("messageClass", "subject", "date", "sender", "to", "cc", "bcc",
                                     "tnefCorrelator", "encoding", "bodies", "attachments"));
    EXPECT_EQ(m["subject"], "Grüße aus Köln: the Q1 numbers");
    EXPECT_EQ(m["date"], "2024-02-12T07:31:43Z");
    EXPECT_EQ(m["sender"]["email"], "Jörg Müller <joerg.mueller@example.de>");
    EXPECT_EQ(m["to"].size(), 2u);
    EXPECT_EQ(m["cc"][0]["address"], "carla@example.com");
    EXPECT_EQ(m["bodies"]["rtf"], 43);
    EXPECT_TRUE(m["bodies"]["html"].is_null());
    ASSERT_EQ(m["attachments"].size(), 3u);
    EXPECT_EQ(m["attachments"][0]["filename"], "notes.txt");
    EXPECT_EQ(m["attachments"][0]["sha256"],
              "7e71a9f1b894bbee34a3e2a14811bf5191749c9a9102fb0afa4a5d33fba9de6e");
    EXPECT_EQ(m["attachments"][2]["message"]["attachments"][0]["filename"], "report.csv");

    const Dictionary bad = Dictionary::parse(second);
    EXPECT_EQ(bad["file"], text);
    EXPECT_EQ(bad["error"]["domain"], "TNEFErrorDomain");
    EXPECT_EQ(bad["error"]["code"], 2);
}

TEST_F(Quillbox, ReadsMsgFiles) {
    test::MsgFile f;
    f.root.string8(0x001A, "IPM.Note")
        .unicode(0x0037, "From a .msg")
        .binary(0x1009, test::helloWorldCompressedRTF())
        .fixed(0x0040, 0x0039, 0x01DA5D858688D980ULL);
    test::MsgProps attachment;
    attachment.unicode(0x3707, "a.txt").binary(0x3701, "attached");
    f.attachments.push_back({attachment, {}});
    const std::string msg = write("message.msg", f.write());

    RunResult r = run("info --json " + msg);
    EXPECT_EQ(r.status, 0) << r.err;
    const Dictionary line = Dictionary::parse(r.out);
    EXPECT_EQ(line["format"], "msg");
    EXPECT_EQ(line["message"]["subject"], "From a .msg");
    EXPECT_EQ(line["message"]["date"], "2024-02-12T07:31:43Z");  // from the submit time
    EXPECT_EQ(line["message"]["attachments"][0]["size"], 8);

    r = run("dump " + msg);
    EXPECT_EQ(r.status, 0);
    EXPECT_THAT(r.out, HasSubstr("storage tree:\n"));
    EXPECT_THAT(r.out, HasSubstr("  __attach_version1.0_#00000000/\n"));
    EXPECT_THAT(r.out, HasSubstr("    PR_SUBJECT_W PT_UNICODE: \"From a .msg\"\n"));
    EXPECT_THAT(r.out, HasSubstr("    PR_ATTACH_LONG_FILENAME_W PT_UNICODE: \"a.txt\"\n"));

    r = run("rtf " + msg);
    EXPECT_EQ(r.out, "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");

    // A compound file that is no message at all.
    std::string broken = f.write();
    broken.resize(600);
    const std::string bad = write("broken.msg", broken);
    r = run("info --json " + bad);
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.out, HasSubstr("\"domain\":\"OXMessageErrorDomain\""));
}

// Every file an extraction writes, relative to `root`.
std::set<std::string> filesUnder(const fs::path& root) {
    std::set<std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file()) out.insert(fs::relative(e.path(), root).string());
    return out;
}

// Attachment names lose their folders (Windows ones too); what is left is made safe for the
// file system.
TEST_F(Quillbox, ExtractKeepsHostileNamesInsideTheFolder) {
    test::TNEFWriter w;
    w.subject("names").attr(1, 0x800C, 2, "body text");
    for (const char* name : {"../../x", "/etc/passwd", "C:\\a\\b", "ctl\x01name", "same.txt",
                             "same.txt", "metadata.json", ".."})
        w.attachment(name, std::string("content of ") + name);
    const std::string input = write("hostile.dat", w.str());
    const fs::path out = dir_ / "out";

    RunResult r = run("extract " + input + " -o " + out.string());
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(filesUnder(out),
              (std::set<std::string>{"hostile/Message.txt", "hostile/metadata.json", "hostile/x",
                                     "hostile/passwd", "hostile/b", "hostile/ctl_name",
                                     "hostile/same.txt", "hostile/same (2).txt",
                                     "hostile/metadata (2).json", "hostile/Untitled",
                                     "hostile/View.html", "hostile/manifest.json"}));
    EXPECT_FALSE(fs::exists(dir_ / "x"));
    EXPECT_EQ(slurp(out / "hostile" / "same (2).txt"), "content of same.txt");
    EXPECT_EQ(slurp(out / "hostile" / "metadata (2).json"), "content of metadata.json");
    EXPECT_EQ(slurp(out / "hostile" / "Message.txt"), "body text");
    EXPECT_EQ(slurp(out / "hostile" / "passwd"), "content of /etc/passwd");
    EXPECT_THAT(r.out, HasSubstr((out / "hostile" / "passwd").string() + "\n"));
    EXPECT_THAT(r.err, HasSubstr("1 done, 0 failed; 12 files"));

    const Dictionary md = Dictionary::parse(slurp(out / "hostile" / "metadata.json"));
    EXPECT_EQ(md["Subject"], "names");
    EXPECT_EQ(md["InternalContents"].size(), 9u);

    // Again: nothing is replaced, the new folder is numbered.
    r = run("extract " + input + " -o " + out.string());
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(fs::exists(out / "hostile (2)" / "same (2).txt"));
}

TEST_F(Quillbox, ExtractNumbersManyEqualNames) {
    test::TNEFWriter w;
    for (int i = 0; i < 300; ++i)
        w.attachment("image001.png", std::to_string(i));
    w.attachment("image001 (7).png", "taken");
    const fs::path out = dir_ / "out";
    RunResult r = run("extract " + write("many.dat", w.str()) + " -o " + out.string());
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(filesUnder(out).size(), 304u);  // with View.html, metadata and manifest
    EXPECT_EQ(slurp(out / "many" / "image001 (300).png"), "299");
    EXPECT_EQ(slurp(out / "many" / "image001 (7).png"), "6");
    EXPECT_EQ(slurp(out / "many" / "image001 (7) (2).png"), "taken");
}

TEST_F(Quillbox, ExtractNestedMessagesAndFailuresAmongFiles) {
    const std::string bad = write("bad.dat", "not a message");
    const fs::path out = dir_ / "deep" / "er";
    RunResult r = run("extract " + sample_ + " " + bad + " -o " + out.string());
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("quillbox: " + bad + ": "));
    EXPECT_THAT(r.err, HasSubstr("1 done, 1 failed;"));
    const auto files = filesUnder(out);
    // The embedded message is written as one .eml holding its own attachment.
    const auto eml = std::find_if(files.begin(), files.end(),
                                  [](const std::string& f) { return f.ends_with(".eml"); });
    ASSERT_NE(eml, files.end());
    const std::string text = slurp(out / *eml);
    EXPECT_THAT(text, HasSubstr("filename=\"report.csv\""));
    EXPECT_THAT(text, HasSubstr("Mime-Version: 1.0\r\n"));
}

TEST_F(Quillbox, EmlIsTheWholeMessage) {
    const fs::path out = dir_ / "whole.eml";
    RunResult r = run("eml " + sample_ + " -o " + out.string());
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string eml = slurp(out);
    EXPECT_EQ(run("eml " + sample_).out.size(), eml.size());
    if (!test::havePythonEmail()) return;
    auto report = test::pythonEmlReport({eml});
    ASSERT_TRUE(report);
    const Dictionary& m = (*report)[0];
    EXPECT_TRUE(m["defects"].empty()) << m.dump();
    EXPECT_TRUE(m["headerDefects"].empty()) << m.dump();
    EXPECT_EQ(m["subject"], "Grüße aus Köln: the Q1 numbers");
    EXPECT_EQ(m["to"].size() + m["cc"].size(), 3u) << m.dump();
    EXPECT_GE(m["attachments"].size(), 3u);

    r = run("eml " + write("junk.dat", "junk"));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
}

TEST_F(Quillbox, ACompoundFileThatHoldsNoMessageIsNamedForWhatItIs) {
    const std::string doc = write(
        "letter.doc", test::CompoundFileWriter().write(test::CFNode::dir(
                          "R", {test::CFNode::stream("WordDocument", std::string(800, 'w'))})));
    RunResult r = run("info " + doc);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "quillbox: " + doc + ": The file \"" + doc +
                         "\" is not an Outlook message: it is a Microsoft Word document.\n");
    r = run("info --json " + doc);
    EXPECT_EQ(r.status, 1);
    const Dictionary error = Dictionary::parse(r.out)["error"];
    EXPECT_EQ(error["domain"], "OXMessageErrorDomain");
    EXPECT_EQ(error["code"], 2);
    // The reader's text keeps its place for the name; the filled text stands beside it.
    EXPECT_EQ(error["description"],
              "The file \"%@\" is not an Outlook message: it is a Microsoft Word document.");
    EXPECT_EQ(
        error["message"],
        "The file \"" + doc + "\" is not an Outlook message: it is a Microsoft Word document.");
    EXPECT_EQ(run("extract -o " + (dir_ / "out").string() + " " + doc).status, 1);
}

TEST_F(Quillbox, InfoShowsControlCharactersEscapedAndSmtpAddresses) {
    test::PropsWriter props;
    props.string8(0x0C1A, "Ann\x1b[2J").string8(0x0C1E, "EX").string8(0x0C1F, "/o=x/cn=ann");
    props.string8(0x5D01, "ann@example.org").unicode(0x0037, "hi\x1b]0;owned\x07 \u009bthere");
    const std::string file = write("crafted.dat", test::TNEFWriter().mapiProps(props).str());
    RunResult r = run("info " + file);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find('\x1b'), std::string::npos);
    EXPECT_THAT(r.out, HasSubstr("subject:  hi\\x1b]0;owned\\x07 \\u009bthere\n"));
    EXPECT_THAT(r.out, HasSubstr("from:     Ann\\x1b[2J <ann@example.org>\n"));
    r = run("info --json " + file);
    const Dictionary sender = Dictionary::parse(r.out)["message"]["sender"];
    EXPECT_EQ(sender["address"], "/o=x/cn=ann");
    EXPECT_EQ(sender["smtp"], "ann@example.org");
}

TEST_F(Quillbox, AFullDiskOnStandardOutputFails) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    for (const char* command : {"info", "info --json", "dump"}) {
        const std::string cmd = std::string(QB_QUILLBOX_PATH) + " " + command + " " + sample_ +
                                " >/dev/full 2>" + (dir_ / "err").string();
        const int raw = std::system(cmd.c_str());
        EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 1) << command;
        EXPECT_THAT(slurp(dir_ / "err"), HasSubstr("standard output: No space left on device"));
    }
}

TEST_F(Quillbox, DumpShowsFixedSizeValuesAndNamedProperties) {
    test::MsgFile f;
    f.root.u32(0x0E07, 9).fixed(0x000B, 0x0E1B, 1).fixed(0x0040, 0x0039, 0x01DA5D858688D980ULL);
    f.root.u32(0x8001, 42).unicode(0x8002, "text");
    f.guids = {std::string("0123456789ABCDEF", 16)};
    f.named = {{1, 3, 0x8208, ""}, {2, 1, 0, "Keywords"}};
    RunResult r = run("dump " + write("fixed.msg", f.write()));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("PR_MESSAGE_FLAGS PT_LONG: 9 (0x00000009)\n"));
    EXPECT_THAT(r.out, HasSubstr("PR_HASATTACH PT_BOOLEAN: true\n"));
    EXPECT_THAT(r.out, HasSubstr("PR_CLIENT_SUBMIT_TIME PT_SYSTIME: 2024-02-12T07:31:43Z\n"));
    EXPECT_THAT(r.out, HasSubstr("{33323130-3534-3736-3839-414243444546} 0x8208 (id 0x8001) "
                                 "PT_LONG: 42 (0x0000002A)\n"));
    EXPECT_THAT(r.out, HasSubstr("{29030200-0000-0000-C000-000000000046} \"Keywords\" (id 0x8002) "
                                 "PT_UNICODE: \"text\"\n"));
}

TEST_F(Quillbox, ExtractCanKeepTheBodiesAsStored) {
    test::MsgFile f;
    const std::string html = "<html><body>caf\xE9 \x93quoted\x94</body></html>";  // Windows-1252
    f.root.unicode(0x0037, "bodies").u32(0x3FDE, 1252).binary(0x1013, html);
    f.root.binary(0x1009, test::helloWorldCompressedRTF());
    const std::string msg = write("bodies.msg", f.write());
    const fs::path out = dir_ / "out";
    RunResult r = run("extract --original-bodies -o " + out.string() + " " + msg);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(slurp(out / "bodies" / "Message.original.html"), html);
    EXPECT_EQ(slurp(out / "bodies" / "Message.rtf"),
              "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");
    // Without the flag only the exported forms are written.
    r = run("extract -o " + (dir_ / "plain").string() + " " + msg);
    EXPECT_FALSE(fs::exists(dir_ / "plain" / "bodies" / "Message.original.html"));
}

// A signed .msg that Outlook left without a body of its own: extract, eml and the view show
// the signed text; the entity itself is extracted and listed as it is.
TEST_F(Quillbox, SignedMessageShowsItsSignedContent) {
    const std::string entity =
        "MIME-Version: 1.0\r\n"
        "Content-Type: multipart/signed; protocol=\"application/pgp-signature\";"
        " boundary=\"s\"\r\n\r\n"
        "--s\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\nSign=E9d text.\r\n"
        "--s\r\nContent-Type: application/pgp-signature; name=\"signature.asc\"\r\n\r\n"
        "-----BEGIN PGP SIGNATURE-----\r\n-----END PGP SIGNATURE-----\r\n--s--\r\n";
    test::MsgFile f;
    f.root.string8(0x001A, "IPM.Note.SMIME.MultipartSigned").unicode(0x0037, "signed");
    f.attachments.push_back(
        {test::MsgProps().string8(0x370E, "multipart/signed").binary(0x3701, entity), {}});
    const std::string msg = write("signed.msg", f.write());

    const fs::path out = dir_ / "out";
    RunResult r = run("extract -o " + out.string() + " " + msg);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(slurp(out / "signed" / "Message.txt"), "Signéd text.");
    EXPECT_THAT(slurp(out / "signed" / "View.html"), HasSubstr("Signéd text."));
    std::string attached;
    for (const auto& name : filesUnder(out / "signed"))
        if (name.starts_with("Untitled Attachment")) attached = slurp(out / "signed" / name);
    EXPECT_EQ(attached, entity);

    r = run("eml " + msg);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("\r\n\r\nSign=C3=A9d text.\r\n"));  // the body, in UTF-8
    EXPECT_THAT(r.out, HasSubstr("\r\n\r\n" + entity));              // the entity as it is

    r = run("info --json " + msg);
    const Dictionary line = Dictionary::parse(r.out);
    EXPECT_EQ(line["message"]["attachments"][0]["size"], entity.size());
    EXPECT_EQ(line["message"]["attachments"][0]["sha256"], sha256Hex(Bytes::fromString(entity)));
}

TEST_F(Quillbox, UsageErrorsExitWithTwo) {
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("frobnicate x").status, 2);
    EXPECT_EQ(run("dump").status, 2);
    EXPECT_EQ(run("info --bogus " + sample_).status, 2);
    EXPECT_EQ(run("--help").status, 0);
}

TEST_F(Quillbox, ReadErrorsNameTheReasonAndTheOffset) {
    // A property stream whose header is of no known form.
    const std::string props = std::string(16, '\0') + std::string(40, '\x11');
    const std::string file = test::CompoundFileWriter().write(test::CFNode::dir(
        "R", {test::CFNode::stream("__properties_version1.0", props),
              test::CFNode::stream("__substg1.0_0037001F", std::string("s\0", 2))}));
    const std::string msg = write("bad.msg", file);
    const size_t at = file.find(props);
    RunResult r = run("info " + msg);
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("quillbox: " + msg +
                                 ": Unknown header format (headerSize < 24) (at offset " +
                                 std::to_string(at) + ")\n"));
    r = run("info --json " + msg);
    EXPECT_EQ(Dictionary::parse(r.out)["error"]["offset"], at);
}

TEST_F(Quillbox, ProgressLineIsClearedAroundLogLinesAndWarnings) {
    // On a terminal, extract shows "[i/n] FILE"; a log line or warning printed while it is
    // shown must start on a cleared line, not after the progress text.
    std::string damaged = test::sampleWinmail() + "\n";
    const std::string a = write("a.dat", damaged), b = write("b.dat", damaged);
    const fs::path transcript = dir_ / "tty";
    const std::string inner = std::string(QB_QUILLBOX_PATH) + " extract -o " +
                              (dir_ / "out").string() + " " + a + " " + b + " >/dev/null";
    const std::string cmd = "script -qec '" + inner + "' /dev/null >" + transcript.string();
    if (std::system(cmd.c_str()) != 0 && slurp(transcript).empty())
        GTEST_SKIP() << "no script(1) to run under a terminal";
    const std::string tty = slurp(transcript);
    EXPECT_THAT(tty, HasSubstr("[2/2] " + b));
    EXPECT_THAT(tty, HasSubstr("warning: reading stopped"));
    // No stretch of the screen between line breaks and carriage returns holds both.
    std::string piece;
    for (char c : tty + "\n") {
        if (c != '\r' && c != '\n') {
            piece += c;
            continue;
        }
        EXPECT_FALSE(piece.find("/2] ") != std::string::npos &&
                     piece.find("quillbox:") != std::string::npos)
            << piece;
        piece.clear();
    }
}

}  // namespace
}  // namespace qb
