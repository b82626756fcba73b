// SPDX-License-Identifier: Apache-2.0
// quillbox's entry point: the command-line grammar, usage errors (exit 2) and the dispatch
// to the commands.
#include <CLI/CLI.hpp>

#include <cstdio>

#include "api/Version.h"
#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/StatusLine.h"
#include "cli/WorkerPool.h"
#include "platform/Log.h"

namespace {

// Library log lines go to standard error, naming the input they are about, control
// characters made visible.
void logToStderr(std::string_view line) {
    std::string text(line);
    if (const std::string& file = qb::cli::currentInputPath(); !file.empty())
        text = file + ": " + text;
    std::string out = "quillbox: ";
    for (unsigned char c : text) {
        if (c < 0x20 || c == 0x7F)
            out += fmt::format("\\x{:02x}", c);
        else
            out += static_cast<char>(c);
    }
    qb::cli::printErrorLine(out);
}

// "quillbox 0.1.0" and the libraries it runs with, as loaded: what a bug report needs.
std::string versionText() {
    std::string text = std::string("quillbox ") + qb::libraryVersion();
    const char* separator = "\n";
    for (const auto& dependency : qb::runtimeDependencyVersions()) {
        text += separator + dependency.name + " " + dependency.version;
        separator = ", ";
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    qb::setLogSink(logToStderr);
    CLI::App app{"quillbox: read Outlook TNEF (winmail.dat) and .msg messages"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::function<std::string()>(versionText),
                         "print the version and those of ICU, libxml2 and libzip");

    // Options of the whole program may also follow the subcommand.
    app.fallthrough();
    std::string maxSize;
    app.add_option("--max-size", maxSize,
                   "read at most this much of a pipe, device or standard input (default 2G; "
                   "K, M, G suffixes)");

    std::vector<std::string> files;
    std::optional<std::string> output;
    bool json = false;

    auto* dump = app.add_subcommand(
        "dump", "Print the TNEF attributes and MAPI properties of each file, with their names");
    dump->add_option("FILE", files, "input files (- for standard input)")->required();

    auto* rtf = app.add_subcommand("rtf", "Write the message's decompressed RTF body");
    std::string rtfFile;
    rtf->add_option("FILE", rtfFile, "input file (- for standard input)")->required();
    rtf->add_option("-o,--output", output, "output file (default: standard output)");
    bool rtfHTML = false, rtfText = false;
    rtf->add_flag("--html", rtfHTML, "the body as HTML: the sender's HTML when the RTF carries it");
    rtf->add_flag("--text", rtfText, "the body as plain text");
    rtf->get_option("--html")->excludes("--text");

    auto* info = app.add_subcommand(
        "info", "Summarise each message: class, subject, people, bodies, attachments");
    info->add_option("FILE", files, "input files (- for standard input)")->required();
    info->add_flag("--json", json, "one JSON object per file and line");
    qb::cli::BatchOptions batch;
    batch.jobs = qb::cli::onlineProcessors();
    auto addBatchOptions = [&](CLI::App* command) {
        command
            ->add_option("-j,--jobs", batch.jobs,
                         "read and export this many files at once (default: the number of "
                         "processors); output stays in input order")
            ->check(CLI::Range(1u, 1024u));
        command->add_flag("-r,--recursive", batch.recursive,
                          "take the files in the folders given, and below them; files that are "
                          "no message are skipped");
    };
    addBatchOptions(info);

    auto* extract = app.add_subcommand(
        "extract",
        "Write the bodies, attachments, nested messages (.eml) and metadata.json of "
        "each message into a folder of its own");
    extract->add_option("FILE", files, "input files (- for standard input)")->required();
    extract->add_option("-o,--output", output, "where the folders go (default: here)");
    bool originalBodies = false;
    extract->add_flag("--original-bodies", originalBodies,
                      "also write each body exactly as the message stores it "
                      "(Message.original.html, Message.rtf)");
    addBatchOptions(extract);

    auto* eml = app.add_subcommand("eml", "Write the message as one .eml file");
    std::string emlFile;
    eml->add_option("FILE", emlFile, "input file (- for standard input)")->required();
    eml->add_option("-o,--output", output, "output file (default: standard output)");

    auto* ics = app.add_subcommand(
        "ics", "Write the calendar file (.ics) of a meeting, appointment or task");
    std::string icsFile;
    ics->add_option("FILE", icsFile, "input file (- for standard input)")->required();
    ics->add_option("-o,--output", output, "output file (default: standard output)");
    auto* vcf = app.add_subcommand(
        "vcf", "Write the card of a contact or distribution list (vCard 2.1, or 4.0)");
    std::string vcfFile, vcfVersion = "2.1";
    vcf->add_option("FILE", vcfFile, "input file (- for standard input)")->required();
    vcf->add_option("-o,--output", output, "output file (default: standard output)");
    vcf->add_option("--version", vcfVersion, "2.1 (the default) or 4.0 (RFC 6350)");

    auto* mime = app.add_subcommand(
        "mime", "Write the display page of an RFC 2822 message (.eml) with its pictures and files");
    std::string mimeFile;
    std::optional<std::string> mimeResources;
    mime->add_option("FILE", mimeFile, "input file (- for standard input)")->required();
    mime->add_option("-o,--output", output, "output page (default: standard output)");
    mime->add_option("--resources", mimeResources,
                     "write the resources as files into this new folder instead of inlining them");
    auto* view = app.add_subcommand(
        "view", "Write the message as one HTML page: headers, body, pictures and attachments");
    std::string viewFile;
    qb::cli::ViewOptions viewOptions;
    view->add_option("FILE", viewFile, "input file (- for standard input)")->required();
    view->add_option("-o,--output", viewOptions.output, "output file (default: standard output)");
    view->add_option("--stylesheet", viewOptions.stylesheet,
                     "link to this style sheet instead of embedding the built-in style");
    view->add_flag("--show-empty", viewOptions.showEmpty,
                   "show placeholders for a missing sender, subject and recipients");
    view->add_option("--attachments", viewOptions.attachmentsDir,
                     "write the attachments into this folder and link the page to them");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? 0 : qb::cli::kExitUsage;
    }
    if (!maxSize.empty()) {
        auto bytes = qb::cli::parseByteSize(maxSize);
        if (!bytes || *bytes == 0) {
            std::fprintf(stderr, "quillbox: --max-size: not a size: %s\n", maxSize.c_str());
            return qb::cli::kExitUsage;
        }
        qb::cli::setMaxInputSize(*bytes);
    }
    // Whatever escapes a command's own guard (it runs out of memory between inputs) still
    // ends with a clear error rather than an abort.
    auto run = [&] {
        if (*dump) return qb::cli::runDump(files);
        if (*rtf)
            return qb::cli::runRTF(rtfFile, output,
                                   rtfHTML   ? qb::cli::RTFBodyForm::HTML
                                   : rtfText ? qb::cli::RTFBodyForm::Text
                                             : qb::cli::RTFBodyForm::RTF);
        if (*info) return qb::cli::runInfo(files, json, batch);
        if (*extract) return qb::cli::runExtract(files, output, originalBodies, batch);
        if (*eml) return qb::cli::runEml(emlFile, output);
        if (*ics) return qb::cli::runIcs(icsFile, output);
        if (*vcf) return qb::cli::runVcf(vcfFile, output, vcfVersion);
        if (*mime) return qb::cli::runMime(mimeFile, output, mimeResources);
        if (*view) return qb::cli::runView(viewFile, viewOptions);
        return qb::cli::kExitUsage;
    };
    try {
        return run();
    } catch (const std::bad_alloc&) {
        std::fputs("quillbox: out of memory\n", stderr);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quillbox: internal error: %s\n", e.what());
    }
    return qb::cli::kExitFailed;
}
