#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cxxabi.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <typeinfo>

#include "cli/Commands.h"
#include "cli/ExtractFolder.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "exporters/SafeFilename.h"
#include "exporters/OriginalBodies.h"
#include "exporters/TNEFMessageExporter.h"
#include "platform/Digest.h"

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
    std::set<std::string> taken{"metadata.json", "manifest.json"};
    auto claim = [&taken](const std::string& name) {
        const std::string safe = safeFilename(name, "Untitled");
        for (unsigned n = 1;; ++n) {
            std::string candidate = numberedFilename(safe, n);
            if (!isWindowsReservedName(candidate) && taken.insert(candidate).second) return candidate;
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

constexpr const char* kMetadataName = "metadata.json";
constexpr const char* kManifestName = "manifest.json";

// The exporter's class name without its namespace, for the manifest.
std::string exporterName(const QBExporter& e) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status);
    std::string name = status == 0 && demangled ? demangled : typeid(e).name();
    std::free(demangled);
    if (const size_t colon = name.rfind("::"); colon != std::string::npos) name.erase(0, colon + 2);
    return name;
}

// Writes every export of one message; the input's exit status.
int extractMessage(const OpenedInput& in, int parentFd, const std::string& parent,
                   bool originalBodies, Progress& progress, Totals& totals) {
    auto exporter = TNEFMessageExporter::create(in.message, nullptr, false);
    auto folder = ExtractFolder::create(parentFd, parent, folderNameFor(in.path));
    if (!folder) {
        progress.clear();
        reportFailure(
            in.path, fmt::format("{}: cannot create the folder: {}", parent, std::strerror(errno)));
        progress.redraw();
        return kExitFailed;
    }
    // Written last, but named first: an attachment of the same name is the one numbered.
    folder->reserve(kMetadataName);
    folder->reserve(kManifestName);

    bool ok = true;
    std::vector<std::string> notWritten;
    Dictionary manifest = Dictionary::array();
    auto save = [&](const std::string& name, const Bytes& data, const std::string& source,
                    bool reserved) {
        if (interrupted()) {
            notWritten.push_back(name);
            return;
        }
        auto path = folder->write(name, data, reserved);
        if (!path) {
            progress.clear();
            if (errno == EINTR)
                notWritten.push_back(name);
            else
                reportFailure(in.path,
                              fmt::format("{}/{}: {}", folder->path(), name, std::strerror(errno)));
            progress.redraw();
            ok = false;
            return;
        }
        progress.clearForOutput();
        std::printf("%s\n", path->c_str());
        std::fflush(stdout);
        progress.redrawForOutput();
        ++totals.files;
        totals.bytes += data.size();
        Dictionary entry = Dictionary::object();
        entry["exporter"] = source;
        entry["file"] = path->substr(path->rfind('/') + 1);
        entry["size"] = data.size();
        entry["sha256"] = sha256Hex(data);
        manifest.push_back(std::move(entry));
    };

    const ContentIDFiles linked = filesOfContentIDs(*exporter);
    for (const auto* list : {&exporter->textExporters(), &exporter->attachmentExporters()}) {
        for (const auto& e : *list) {
            auto data = e->data();
            if (!data) continue;
            // A page's pictures are the files written beside it.
            if (!linked.empty() && e->mimeType() == "text/html" && list == &exporter->textExporters())
                data = Bytes::adoptString(htmlWithContentIDsLinked(data->view(), linked));
            save(e->filename().value_or("Untitled"), *data, exporterName(*e), false);
        }
    }
    if (originalBodies)
        for (const auto& body : qb::originalBodies(*in.message))
            save(body.filename, body.data, "original body", false);
    // Last, so that a run cut short leaves no description of files that are not there.
    const std::string metadata =
        exporter->metadataPlist().dump(2, ' ', false, Dictionary::error_handler_t::replace) + "\n";
    save(kMetadataName, Bytes::fromString(metadata), "metadata", true);
    save(kManifestName,
         Bytes::fromString(manifest.dump(2, ' ', false, Dictionary::error_handler_t::replace) +
                           "\n"),
         "manifest", true);
    if (!notWritten.empty()) {
        std::string names;
        for (const auto& n : notWritten)
            names += (names.empty() ? "" : ", ") + n;
        progress.clear();
        reportFailure(in.path, "interrupted; not written: " + names);
        progress.redraw();
        ok = false;
    }
    return ok ? kExitOK : kExitFailed;
}

}  // namespace

int runExtract(const std::vector<std::string>& files, const std::optional<std::string>& outDir,
               bool originalBodies) {
    const std::string parent = outDir.value_or(".");
    const int parentFd = makeDirectories(parent) ? openFolder(parent) : -1;
    if (parentFd < 0) {
        std::fprintf(stderr, "quillbox: %s: cannot create the folder: %s\n", parent.c_str(),
                     std::strerror(errno));
        return kExitFailed;
    }
    installInterruptHandlers();
    Progress progress(files.size() > 1 && ::isatty(STDERR_FILENO));
    Totals totals;
    int status = kExitOK;
    for (size_t i = 0; i < files.size() && !interrupted(); ++i) {
        progress.show(i + 1, files.size(), files[i]);
        const int fileStatus = guardedInput(files[i], [&] {
            OpenedInput in = openInput(files[i]);
            if (!in.message) {
                progress.clear();
                reportFailure(files[i], in.error.value_or("cannot be read"));
                progress.redraw();
                return finishInput(in, kExitFailed);
            }
            int result = extractMessage(in, parentFd, parent, originalBodies, progress, totals);
            if (in.error) {
                // Read only in part: what could be read is written, and the input counts as
                // failed.
                progress.clear();
                reportFailure(files[i], *in.error);
                progress.redraw();
                result = kExitFailed;
            }
            progress.clear();
            result = finishInput(in, result);
            progress.redraw();
            return result;
        });
        ++(fileStatus == kExitFailed ? totals.failed : totals.done);
        status = worseStatus(status, fileStatus);
    }
    ::close(parentFd);
    progress.finish();
    if (interrupted()) status = kExitFailed;
    std::fprintf(stderr, "quillbox: %zu done, %zu failed; %zu files, %llu bytes written to %s\n",
                 totals.done, totals.failed, totals.files,
                 static_cast<unsigned long long>(totals.bytes), parent.c_str());
    return status;
}

int runEml(const std::string& file, const std::optional<std::string>& output) {
    return guardedInput(file, [&] {
        OpenedInput in = openInput(file);
        if (!in.message) {
            reportFailure(file, in.error.value_or("cannot be read"));
            return finishInput(in, kExitFailed);
        }
        // The message as a whole, built the way a message inside another one is.
        auto exporter = TNEFMessageExporter::create(in.message, nullptr, true);
        bool ok = exporter->data() && writeOutput(output, *exporter->data(), file);
        if (in.error) {
            reportFailure(file, *in.error);
            ok = false;
        }
        return finishInput(in, ok ? kExitOK : kExitFailed);
    });
}

}  // namespace qb::cli
