// SPDX-License-Identifier: Apache-2.0
// quillbox view: the message as one HTML page that any browser opens on its own, with its
// attachments written beside it on request.
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "api/ExtractFolder.h"
#include "api/MessageView.h"
#include "cli/Commands.h"
#include "cli/Interrupts.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "cli/StatusLine.h"
#include "exporters/ContentIDs.h"

namespace qb::cli {

namespace {

namespace fs = std::filesystem;

// The folder `dir` as seen from the folder the page is written to, as URL path segments
// ending in "/"; empty when they are the same folder.
std::string relativeFolderURL(const std::string& dir, const std::optional<std::string>& output) {
    std::error_code ec;
    const fs::path base =
        output && *output != "-" ? fs::absolute(*output, ec).parent_path() : fs::current_path(ec);
    const fs::path relative =
        fs::absolute(dir, ec).lexically_normal().lexically_relative(base.lexically_normal());
    std::string url;
    for (const auto& segment : relative) {
        const std::string text = segment.string();
        if (text.empty() || text == ".") continue;
        url += (text == ".." ? text : urlEscapedFileName(text)) + "/";
    }
    return url;
}

// Writes the attachments into `dir` as extract names them; the link of each one written.
// False when any could not be written (each failure reported).
bool writeAttachments(const OpenedInput& in, const TNEFMessageExporter& exporter,
                      const std::string& dir, const std::optional<std::string>& output,
                      std::vector<std::optional<std::string>>& links) {
    auto folder = ExtractFolder::open(dir, &interruptFlag());
    if (!folder) {
        reportFailure(in.path, dir + ": " + std::strerror(errno));
        return false;
    }
    const std::string prefix = relativeFolderURL(dir, output);
    const auto& attachments = exporter.attachmentExporters();
    links.assign(attachments.size(), std::nullopt);
    bool ok = true;
    for (size_t i = 0; i < attachments.size(); ++i) {
        auto data = attachments[i]->data();
        if (!data) continue;
        const std::string name = attachments[i]->filename().value_or("Untitled");
        auto path = folder->write(name, *data);
        if (!path) {
            reportFailure(in.path, dir + "/" + name + ": " + std::strerror(errno));
            ok = false;
            continue;
        }
        // Paths are listed as extract lists them, unless the page itself goes to standard output.
        if (output && *output != "-") printOutputLine(*path);
        links[i] = prefix + urlEscapedFileName(path->substr(path->rfind('/') + 1));
    }
    return ok;
}

int viewOf(const std::string& file, const ViewOptions& options) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, *in.error);
        return finishInput(in, kExitFailed);
    }
    auto exporter = TNEFMessageExporter::create(in.message, nullptr, ExportMode::Files);
    MessageViewOptions view;
    view.showEmpty = options.showEmpty;
    view.stylesheetPath = options.stylesheet;
    view.alertHTML = partialReadAlertHTML(*in.message);
    bool ok = true;
    if (options.attachmentsDir)
        ok = writeAttachments(in, *exporter, *options.attachmentsDir, options.output,
                              view.attachmentLinks);
    auto page = messageViewHTML(exporter, view);
    if (!page) {
        reportFailure(file, "the message body could not be made into a view");
        return finishInput(in, kExitFailed);
    }
    ok = writeOutput(options.output, Bytes::adoptString(std::move(*page)), file) && ok;
    return finishInput(in, ok ? kExitOK : kExitFailed);
}

}  // namespace

int runView(const std::string& file, const ViewOptions& options) {
    return guardedInput(file, [&] { return viewOf(file, options); });
}

}  // namespace qb::cli
