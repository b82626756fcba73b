// SPDX-License-Identifier: Apache-2.0
// Writing one message's exports as files: names claimed in order, pages linked to the
// pictures written beside them, the description of what was written last.
#include "api/ExportToFolder.h"

#include <cxxabi.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <typeinfo>

#include "api/ExtractFolder.h"
#include "api/MessageView.h"
#include "api/WholeFile.h"
#include "exporters/AttachmentExporter.h"
#include "exporters/ContentIDs.h"
#include "exporters/OriginalBodies.h"
#include "exporters/SafeFilename.h"
#include "exporters/TNEFMessageExporter.h"
#include "platform/Digest.h"
#include "platform/Log.h"
#include "tnef/TNEFAttachment.h"

namespace qb {

namespace {

constexpr const char* kMetadataName = "metadata.json";
constexpr const char* kManifestName = "manifest.json";
constexpr const char* kViewName = "View.html";

// What a file will hold: its size when known before it is written, and how to write it. A
// nested message is written from its pieces as they are encoded, never held whole.
struct FileContent {
    std::optional<uint64_t> size;
    std::function<bool(const MimeSink&)> write;
};

FileContent contentOfBytes(Bytes data) {
    const uint64_t size = data.size();
    return {size, [data = std::move(data)](const MimeSink& sink) { return sink(data.view()); }};
}

std::optional<FileContent> contentOf(const QBExporter& e) {
    if (const auto* nested = dynamic_cast<const TNEFMessageExporter*>(&e)) {
        if (!nested->body()) return std::nullopt;
        const MimeBody& body = *nested->body();
        return FileContent{body.size(), [&body](const MimeSink& sink) { return body.write(sink); }};
    }
    auto data = e.data();
    if (!data) return std::nullopt;
    return contentOfBytes(std::move(*data));
}

// Hands a file's content to the descriptor in writes of about 64 KB, hashing it on the way,
// and stops (EFBIG) once it would pass `limit` bytes. The reason it stopped is kept: the
// writer it serves (libxml2's) may run on after the refusal.
class FileSink {
  public:
    FileSink(int fd, uint64_t limit, const std::atomic<bool>* cancel)
        : fd_(fd), limit_(limit), cancel_(cancel) {}
    bool add(std::string_view piece) {
        if (piece.size() > limit_ - std::min(size_, limit_)) return fail(EFBIG);
        size_ += piece.size();
        digest_.add(piece);
        if (buffer_.size() + piece.size() > kBuffer && !flush()) return false;
        if (piece.size() >= kBuffer) return writeAllTo(fd_, piece, cancel_) || fail(errno);
        buffer_ += piece;
        return true;
    }
    bool flush() {
        const bool ok = writeAllTo(fd_, buffer_, cancel_);
        buffer_.clear();
        return ok || fail(errno);
    }
    int error() const { return error_; }
    uint64_t size() const { return size_; }
    std::string sha256() { return digest_.hex(); }

  private:
    bool fail(int error) {
        error_ = error;
        return false;
    }
    static constexpr size_t kBuffer = size_t(64) << 10;
    int fd_;
    int error_ = 0;
    uint64_t limit_, size_ = 0;
    const std::atomic<bool>* cancel_;
    std::string buffer_;
    SHA256Stream digest_;
};

// The names the files of a message get in its new, empty folder, in the order they are
// written, for the content ids of its attachments.
ContentIDFiles filesOfContentIDs(const TNEFMessageExporter& exporter) {
    std::set<std::string> taken{kMetadataName, kManifestName, kViewName};
    auto claim = [&taken](const std::string& name) {
        const std::string safe = safeFilename(name, "Untitled");
        for (unsigned n = 1;; ++n) {
            std::string candidate = numberedFilename(safe, n);
            if (!isWindowsReservedName(candidate) && taken.insert(candidate).second)
                return candidate;
        }
    };
    ContentIDFiles files;
    for (const auto& e : exporter.textExporters())
        if (e->data()) claim(e->filename().value_or("Untitled"));
    for (const auto& e : exporter.attachmentExporters()) {
        if (!contentOf(*e)) continue;
        const std::string name = claim(e->filename().value_or("Untitled"));
        const auto* file = dynamic_cast<const AttachmentExporter*>(e.get());
        if (!file || !file->attachment()) continue;
        if (auto id = file->attachment()->contentId(); id && !id->empty())
            files.emplace(normalizedContentID(*id), name);
    }
    return files;
}

// The exporter's class name without its namespace, for the manifest.
std::string exporterName(const QBExporter& e) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status);
    std::string name = status == 0 && demangled ? demangled : typeid(e).name();
    std::free(demangled);
    if (const size_t colon = name.rfind("::"); colon != std::string::npos) name.erase(0, colon + 2);
    return name;
}

std::string jsonText(const Dictionary& d) {
    return d.dump(2, ' ', false, Dictionary::error_handler_t::replace) + "\n";
}

}  // namespace

uint64_t outputBudgetFor(const OutlookMessage& message) {
    constexpr uint64_t kPerInputByte = 64, kFloor = uint64_t(16) << 20;
    uint64_t budget = message.report()->inputSize() * kPerInputByte;
    for (const auto& attachment : message.attachments())
        if (attachment)
            if (auto data = attachment->rawData()) budget += data->size();
    return std::max(budget, kFloor);
}

Expected<FolderExport> exportToFolder(const std::shared_ptr<const OutlookMessage>& message,
                                      int parentFd, const std::string& parentPath,
                                      const std::string& folderName,
                                      const FolderExportOptions& options) {
    auto exporter = TNEFMessageExporter::create(message, nullptr, ExportMode::Files);
    auto folder = ExtractFolder::create(parentFd, parentPath, folderName, options.cancel);
    if (!folder)
        return ReadError{"POSIX", errno,
                         parentPath + ": cannot create the folder: " + std::strerror(errno),
                         std::nullopt};
    // Written last, but named first: an attachment of the same name is the one numbered.
    folder->reserve(kMetadataName);
    folder->reserve(kManifestName);
    folder->reserve(kViewName);

    FolderExport result;
    result.folder = folder->path();
    const uint64_t budget = options.outputBudget ? options.outputBudget : outputBudgetFor(*message);
    uint64_t written = 0;
    // Descriptions are small and say what was written: they always go. The view keeps its
    // name and is measured before it is saved.
    enum class Slot { Export, View, Description };
    // The name the file got in the folder, when it was written.
    auto save = [&](const std::string& name, const FileContent& content, const std::string& source,
                    Slot slot) -> std::optional<std::string> {
        const bool description = slot == Slot::Description;
        if ((options.cancel && options.cancel->load()) || (result.budgetExceeded && !description)) {
            result.notWritten.push_back(name);
            result.complete = false;
            return std::nullopt;
        }
        const uint64_t room = description ? UINT64_MAX : budget - std::min(written, budget);
        if (content.size && *content.size > room) {
            result.budgetExceeded = budget;
            result.notWritten.push_back(name);
            result.complete = false;
            return std::nullopt;
        }
        uint64_t size = 0;
        std::string sha256;
        auto path = folder->write(
            name,
            [&](int fd) {
                FileSink sink(fd, room, options.cancel);
                if (!content.write([&sink](std::string_view piece) { return sink.add(piece); }) ||
                    !sink.flush()) {
                    errno = sink.error() ? sink.error() : EIO;
                    return false;
                }
                size = sink.size();
                sha256 = sink.sha256();
                return true;
            },
            slot != Slot::Export);
        if (!path) {
            // Only the view's size is not known beforehand: past the room it is left out.
            if (errno == EFBIG && slot == Slot::View) {
                logf("{} left out: it would pass the output budget of {} bytes", name, budget);
                return std::nullopt;
            }
            result.complete = false;
            if (errno == EINTR)
                result.notWritten.push_back(name);
            else if (options.fileFailed)
                options.fileFailed(folder->path() + "/" + name, errno);
            return std::nullopt;
        }
        written += size;
        ExportedFile file{*path, source, size, std::move(sha256)};
        if (options.fileWritten) options.fileWritten(file);
        result.files.push_back(std::move(file));
        return path->substr(path->rfind('/') + 1);
    };

    const ContentIDFiles linked = filesOfContentIDs(*exporter);
    for (const auto& e : exporter->textExporters()) {
        auto data = e->data();
        if (!data) continue;
        // A page's pictures are the files written beside it.
        if (!linked.empty() && e->mimeType() == "text/html")
            data = Bytes::adoptString(htmlWithContentIDsLinked(data->view(), linked));
        save(e->filename().value_or("Untitled"), contentOfBytes(std::move(*data)), exporterName(*e),
             Slot::Export);
    }
    // The view's links lead to the attachments under the names they got.
    MessageViewOptions view;
    view.iconSource = options.iconSource;
    view.alertHTML = partialReadAlertHTML(*message);
    const auto& attachments = exporter->attachmentExporters();
    view.attachmentLinks.resize(attachments.size());
    for (size_t i = 0; i < attachments.size(); ++i)
        if (auto content = contentOf(*attachments[i]))
            if (auto name = save(attachments[i]->filename().value_or("Untitled"), *content,
                                 exporterName(*attachments[i]), Slot::Export))
                view.attachmentLinks[i] = urlEscapedFileName(*name);
    if (options.originalBodies)
        for (const auto& body : originalBodies(*message))
            save(body.filename, contentOfBytes(body.data), "original body", Slot::Export);
    view.pictureURL = [&linked](const std::string& id) -> std::optional<std::string> {
        const auto file = linked.find(id);
        if (file == linked.end()) return std::nullopt;
        return urlEscapedFileName(file->second);
    };
    // The view only shows what the other files hold: one that would pass the budget is left
    // out with a log line, and the export is still complete. Its size is estimated first, so
    // that thousands of attachment pictures are never built for nothing; it is written as it
    // is serialised.
    if (!result.budgetExceeded) {
        const uint64_t room = budget - std::min(written, budget);
        if (attachmentLinksSize(*exporter, view.iconSource) > room)
            logf("{} left out: it would pass the output budget of {} bytes", kViewName, budget);
        else if (XmlDocPtr page = messageViewDocument(exporter, view))
            save(kViewName,
                 FileContent{
                     std::nullopt,
                     [&page](const MimeSink& sink) { return writeHTMLDocument(page.get(), sink); }},
                 "QBMailTemplate", Slot::View);
    }
    // Last, so that a run cut short leaves no description of files that are not there.
    save(kMetadataName, contentOfBytes(Bytes::fromString(jsonText(exporter->metadataPlist()))),
         "metadata", Slot::Description);
    // Made only now from the files written: thousands of entries are not kept twice.
    Dictionary manifest = Dictionary::array();
    for (const ExportedFile& file : result.files) {
        Dictionary entry = Dictionary::object();
        entry["exporter"] = file.exporter;
        entry["file"] = file.path.substr(file.path.rfind('/') + 1);
        entry["size"] = file.size;
        entry["sha256"] = file.sha256;
        manifest.push_back(std::move(entry));
    }
    save(kManifestName, contentOfBytes(Bytes::fromString(jsonText(manifest))), "manifest",
         Slot::Description);
    return result;
}

std::string folderNameForInput(const std::string& file) {
    if (file == "-") return "stdin";
    std::string name = file;
    while (name.size() > 1 && name.back() == '/')
        name.pop_back();
    if (const size_t slash = name.find_last_of('/'); slash != std::string::npos)
        name.erase(0, slash + 1);
    if (const size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

Expected<FolderExport> exportToFolder(const std::shared_ptr<const OutlookMessage>& message,
                                      const std::string& parentPath, const std::string& folderName,
                                      const FolderExportOptions& options) {
    const int fd = makeDirectories(parentPath) ? openFolder(parentPath) : -1;
    if (fd < 0)
        return ReadError{"POSIX", errno,
                         parentPath + ": cannot create the folder: " + std::strerror(errno),
                         std::nullopt};
    auto result = exportToFolder(message, fd, parentPath, folderName, options);
    ::close(fd);
    return result;
}

}  // namespace qb
