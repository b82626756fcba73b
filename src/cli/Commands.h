// SPDX-License-Identifier: Apache-2.0
// The quillbox commands (dump, info, rtf, extract, eml, ics, vcf, mime, view), one function each;
// main.cpp parses the command line and calls them, and each turns library results into output and
// exit status.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/OutlookMessage.h"

namespace qb::cli {

// How info and extract run over many inputs: `jobs` worker threads, one input each at a
// time, output still in input order; with `recursive`, folders stand for the files below
// them, and a file found so that holds no message is skipped and counted.
struct BatchOptions {
    unsigned jobs = 1;
    bool recursive = false;
};

// Each command returns the process exit status: 0 when every file was handled, 1 when any
// failed.
int runDump(const std::vector<std::string>& files);
// The RTF body as it is stored (decompressed), as the HTML page extract writes, or as text.
enum class RTFBodyForm { RTF, HTML, Text };
int runRTF(const std::string& file, const std::optional<std::string>& output, RTFBodyForm form);
int runInfo(const std::vector<std::string>& files, bool json, const BatchOptions& batch = {});
// Every export of each message into a folder of its own inside `outDir` (default ".").
// With `originalBodies`, also the bodies as the message stores them.
int runExtract(const std::vector<std::string>& files, const std::optional<std::string>& outDir,
               bool originalBodies = false, const BatchOptions& batch = {});
// The message as one RFC 2822 message.
int runEml(const std::string& file, const std::optional<std::string>& output);
// The calendar file of a meeting, appointment or task; exit 1 for any other item.
int runIcs(const std::string& file, const std::optional<std::string>& output);
// The card of a contact or distribution list; `version` is "2.1" or "4.0".
int runVcf(const std::string& file, const std::optional<std::string>& output,
           const std::string& version);
// The view of a message as one HTML page.
struct ViewOptions {
    std::optional<std::string> output;
    // A style sheet the page links to instead of embedding the built-in style.
    std::optional<std::string> stylesheet;
    // Placeholders for a missing sender, subject and recipients.
    bool showEmpty = false;
    // Where the attachments are written; the page's links lead there.
    std::optional<std::string> attachmentsDir;
};
int runView(const std::string& file, const ViewOptions& options);

// An RFC 2822 message's display page, its resources inlined as data: URIs or, with
// `resourceDir`, written as files into that new folder.
int runMime(const std::string& file, const std::optional<std::string>& output,
            const std::optional<std::string>& resourceDir);

// The dump of one message: its attributes, property lists, recipient rows and attachment
// groups, nested levels indented.
std::string dumpMessage(const OutlookMessage& message);

}  // namespace qb::cli
