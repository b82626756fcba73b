// SPDX-License-Identifier: Apache-2.0
// Writing one message's exports as files: names claimed in order, pages linked to the
// pictures written beside them, the description of what was written last.
#include "api/ExportToFolder.h"

#include <cxxabi.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <typeinfo>

#include "api/ExtractFolder.h"
#include "api/MessageView.h"
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
        if (!e->data()) continue;
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
    Dictionary manifest = Dictionary::array();
    // Descriptions are small and say what was written: they always go. The view keeps its
    // name and is measured before it is saved.
    enum class Slot { Export, View, Description };
    // The name the file got in the folder, when it was written.
    auto save = [&](const std::string& name, const Bytes& data, const std::string& source,
                    Slot slot) -> std::optional<std::string> {
        const bool description = slot == Slot::Description;
        if ((options.cancel && options.cancel->load()) || (result.budgetExceeded && !description)) {
            result.notWritten.push_back(name);
            result.complete = false;
            return std::nullopt;
        }
        if (!description && data.size() > budget - std::min(written, budget)) {
            result.budgetExceeded = budget;
            result.notWritten.push_back(name);
            result.complete = false;
            return std::nullopt;
        }
        written += data.size();
        auto path = folder->write(name, data, slot != Slot::Export);
        if (!path) {
            result.complete = false;
            if (errno == EINTR)
                result.notWritten.push_back(name);
            else if (options.fileFailed)
                options.fileFailed(folder->path() + "/" + name, errno);
            return std::nullopt;
        }
        ExportedFile file{*path, source, data.size()};
        Dictionary entry = Dictionary::object();
        entry["exporter"] = source;
        entry["file"] = path->substr(path->rfind('/') + 1);
        entry["size"] = data.size();
        entry["sha256"] = sha256Hex(data);
        manifest.push_back(std::move(entry));
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
        save(e->filename().value_or("Untitled"), *data, exporterName(*e), Slot::Export);
    }
    // The view's links lead to the attachments under the names they got.
    MessageViewOptions view;
    view.iconSource = options.iconSource;
    const auto& attachments = exporter->attachmentExporters();
    view.attachmentLinks.resize(attachments.size());
    for (size_t i = 0; i < attachments.size(); ++i)
        if (auto data = attachments[i]->data())
            if (auto name = save(attachments[i]->filename().value_or("Untitled"), *data,
                                 exporterName(*attachments[i]), Slot::Export))
                view.attachmentLinks[i] = urlEscapedFileName(*name);
    if (options.originalBodies)
        for (const auto& body : originalBodies(*message))
            save(body.filename, body.data, "original body", Slot::Export);
    view.pictureURL = [&linked](const std::string& id) -> std::optional<std::string> {
        const auto file = linked.find(id);
        if (file == linked.end()) return std::nullopt;
        return urlEscapedFileName(file->second);
    };
    // The view only shows what the other files hold: one that would pass the budget is left
    // out with a log line, and the export is still complete. Its size is estimated first, so
    // that thousands of attachment pictures are never built in memory for nothing.
    if (!result.budgetExceeded) {
        const uint64_t room = budget - std::min(written, budget);
        bool fits = attachmentLinksSize(*exporter, view.iconSource) <= room;
        std::optional<std::string> page;
        if (fits) {
            page = messageViewHTML(exporter, view);
            fits = !page || page->size() <= room;
        }
        if (!fits)
            logf("{} left out: it would pass the output budget of {} bytes", kViewName, budget);
        else if (page)
            save(kViewName, Bytes::adoptString(std::move(*page)), "QBMailTemplate", Slot::View);
    }
    // Last, so that a run cut short leaves no description of files that are not there.
    save(kMetadataName, Bytes::fromString(jsonText(exporter->metadataPlist())), "metadata",
         Slot::Description);
    save(kManifestName, Bytes::fromString(jsonText(manifest)), "manifest", Slot::Description);
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
