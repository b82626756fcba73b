#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

#include "cli/Commands.h"
#include "cli/ExtractFolder.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "exporters/SafeFilename.h"
#include "exporters/OriginalBodies.h"
#include "exporters/TNEFMessageExporter.h"

namespace qb::cli {

namespace {

// A progress line on a terminal: redrawn in place, cleared before anything else is printed.
class Progress {
  public:
    explicit Progress(bool enabled) : enabled_(enabled) {}
    void show(size_t index, size_t total, const std::string& file) {
        if (!enabled_) return;
        line_ = fmt::format("[{}/{}] {}", index, total, file);
        std::fprintf(stderr, "\r\033[K%s", line_.c_str());
        std::fflush(stderr);
    }
    void clear() {
        if (enabled_ && !line_.empty()) std::fputs("\r\033[K", stderr);
    }
    void redraw() {
        if (enabled_ && !line_.empty()) std::fprintf(stderr, "%s", line_.c_str());
    }
    void finish() {
        clear();
        line_.clear();
    }
    // Standard output only shares the screen with the line when it is a terminal too.
    void clearForOutput() {
        if (stdoutIsTerminal_) clear();
    }
    void redrawForOutput() {
        if (stdoutIsTerminal_) redraw();
    }

  private:
    bool enabled_;
    bool stdoutIsTerminal_ = ::isatty(STDOUT_FILENO);
    std::string line_;
};

// The folder for one input: the file's name without its extension.
std::string folderNameFor(const std::string& file) {
    if (file == "-") return "stdin";
    std::string name = file;
    while (name.size() > 1 && name.back() == '/')
        name.pop_back();
    if (const size_t slash = name.find_last_of('/'); slash != std::string::npos)
        name.erase(0, slash + 1);
    if (const size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

bool makeDirectories(const std::string& path) {
    for (size_t pos = 1; pos <= path.size(); ++pos) {
        if (pos < path.size() && path[pos] != '/') continue;
        const std::string prefix = path.substr(0, pos);
        if (::mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) return false;
    }
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The names the files of a message get in its new, empty folder, in the order they are
// written, for the content ids of its attachments.
ContentIDFiles filesOfContentIDs(const TNEFMessageExporter& exporter) {
    std::set<std::string> taken{"metadata.json"};
    auto claim = [&taken](const std::string& name) {
        const std::string safe = safeFilename(name, "Untitled");
        for (unsigned n = 1;; ++n) {
            std::string candidate = numberedFilename(safe, n);
            if (taken.insert(candidate).second) return candidate;
        }
    };
    ContentIDFiles files;
    for (const auto& e : exporter.textExporters())
        if (e->data()) claim(e->filename().value_or("Untitled"));
    for (const auto& e : exporter.attachmentExporters()) {
        if (!e->data()) continue;
        const std::string name = claim(e->filename().value_or("Untitled"));
        const auto* file = dynamic_cast<const AttachmentExporter*>(e.get());
        if (!file || !file->attachment()) continue;
        if (auto id = file->attachment()->contentId(); id && !id->empty())
            files.emplace(normalizedContentID(*id), name);
    }
    return files;
}

struct Totals {
    size_t done = 0, failed = 0, files = 0;
    uint64_t bytes = 0;
};

// Writes every export of one message; false when anything could not be written.
bool extractMessage(const OpenedInput& in, const std::string& parent, bool originalBodies,
                    Progress& progress, Totals& totals) {
    auto exporter = TNEFMessageExporter::create(in.message, nullptr, false);
    auto folder = ExtractFolder::create(parent, folderNameFor(in.path));
    if (!folder) {
        progress.clear();
        reportFailure(
            in.path, fmt::format("{}: cannot create the folder: {}", parent, std::strerror(errno)));
        progress.redraw();
        return false;
    }

    bool ok = true;
    auto save = [&](const std::string& name, const Bytes& data) {
        auto path = folder->write(name, data);
        if (!path) {
            progress.clear();
            reportFailure(in.path,
                          fmt::format("{}/{}: {}", folder->path(), name, std::strerror(errno)));
            progress.redraw();
            ok = false;
        } else {
            progress.clearForOutput();
            std::printf("%s\n", path->c_str());
            std::fflush(stdout);
            progress.redrawForOutput();
            ++totals.files;
            totals.bytes += data.size();
        }
    };

    // First, so that an attachment of the same name is the one that gets numbered.
    const std::string metadata =
        exporter->metadataPlist().dump(2, ' ', false, Dictionary::error_handler_t::replace) + "\n";
    save("metadata.json", Bytes::fromString(metadata));
    const ContentIDFiles linked = filesOfContentIDs(*exporter);
    for (const auto* list : {&exporter->textExporters(), &exporter->attachmentExporters()}) {
        for (const auto& e : *list) {
            auto data = e->data();
            if (!data) continue;
            // A page's pictures are the files written beside it.
            if (!linked.empty() && e->mimeType() == "text/html" && list == &exporter->textExporters())
                data = Bytes::adoptString(htmlWithContentIDsLinked(data->view(), linked));
            save(e->filename().value_or("Untitled"), *data);
        }
    }
    if (originalBodies)
        for (const auto& body : qb::originalBodies(*in.message))
            save(body.filename, body.data);
    return ok;
}

}  // namespace

int runExtract(const std::vector<std::string>& files, const std::optional<std::string>& outDir,
               bool originalBodies) {
    const std::string parent = outDir.value_or(".");
    if (!makeDirectories(parent)) {
        std::fprintf(stderr, "quillbox: %s: cannot create the folder: %s\n", parent.c_str(),
                     std::strerror(errno));
        return 1;
    }
    Progress progress(files.size() > 1 && ::isatty(STDERR_FILENO));
    Totals totals;
    for (size_t i = 0; i < files.size(); ++i) {
        progress.show(i + 1, files.size(), files[i]);
        OpenedInput in = openInput(files[i]);
        if (!in.message) {
            progress.clear();
            reportFailure(files[i], in.error.value_or("cannot be read"));
            progress.redraw();
            ++totals.failed;
            continue;
        }
        bool ok = extractMessage(in, parent, originalBodies, progress, totals);
        if (in.error) {
            // Read only in part: what could be read is written, and the input counts as failed.
            progress.clear();
            reportFailure(files[i], *in.error);
            progress.redraw();
            ok = false;
        }
        ++(ok ? totals.done : totals.failed);
    }
    progress.finish();
    std::fprintf(stderr, "quillbox: %zu done, %zu failed; %zu files, %llu bytes written to %s\n",
                 totals.done, totals.failed, totals.files,
                 static_cast<unsigned long long>(totals.bytes), parent.c_str());
    return totals.failed ? 1 : 0;
}

int runEml(const std::string& file, const std::optional<std::string>& output) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, in.error.value_or("cannot be read"));
        return 1;
    }
    // The message as a whole, built the way a message inside another one is.
    auto exporter = TNEFMessageExporter::create(in.message, nullptr, true);
    bool ok = exporter->data() && writeOutput(output, *exporter->data(), file);
    if (in.error) {
        reportFailure(file, *in.error);
        ok = false;
    }
    return ok ? 0 : 1;
}

}  // namespace qb::cli
