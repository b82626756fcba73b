// SPDX-License-Identifier: Apache-2.0
// quillbox mime: an RFC 2822 message shown as the MIME part model displays it, one HTML
// page whose pictures and files come along as data: URIs or as files beside it.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "api/ExtractFolder.h"
#include "api/OpenMessage.h"
#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/ContentIDs.h"
#include "mime/MimePart.h"
#include "mime/MimeTypes.h"
#include "mime/SelfContainedPage.h"

namespace qb::cli {

namespace {

namespace fs = std::filesystem;

// The name a resource is written under: its part's file name, else its content ID; a
// picture drawn for a part (a PDF's first page, an icon) gets ".png" after it.
std::string resourceFileName(MimePart& root, const WebResource& resource) {
    const std::string id = resource.url.substr(4);
    std::string name = id;
    if (auto part = root.partWithContentID(id))
        if (auto filename = part->filename(); filename && !filename->empty()) name = *filename;
    if (resource.mimeType == "image/png" && mimeTypeForFilename(name) != "image/png")
        name += ".png";
    return name;
}

// The page with its resources written into a new folder `dir` (numbered when taken); the
// page refers to them relative to where it is written. Nothing after a failure it reported.
std::optional<std::string> pageWithResourceFiles(const std::string& file, MimePart& root,
                                                 const std::string& page,
                                                 const std::vector<WebResource>& resources,
                                                 const std::string& dir,
                                                 const std::optional<std::string>& output) {
    fs::path target = fs::absolute(dir).lexically_normal();
    if (!target.has_filename()) target = target.parent_path();
    const std::string parent = target.parent_path().string();
    if (!makeDirectories(parent)) {
        reportFailure(file, parent + ": " + std::strerror(errno));
        return std::nullopt;
    }
    const int parentFd = openFolder(parent);
    if (parentFd < 0) {
        reportFailure(file, parent + ": " + std::strerror(errno));
        return std::nullopt;
    }
    auto folder = ExtractFolder::create(parentFd, parent, target.filename().string());
    const int folderErrno = errno;
    ::close(parentFd);
    if (!folder) {
        reportFailure(file, target.string() + ": " + std::strerror(folderErrno));
        return std::nullopt;
    }
    const fs::path pageDir =
        output && *output != "-" ? fs::absolute(*output).parent_path() : fs::current_path();
    bool failed = false;
    std::string result = pageWithResourceURLs(
        page, resources, [&](const WebResource& r) -> std::optional<std::string> {
            if (failed) return std::nullopt;
            auto written = folder->write(resourceFileName(root, r), r.data);
            if (!written) {
                reportFailure(file, "cannot write " + resourceFileName(root, r) + ": " +
                                        std::strerror(errno));
                failed = true;
                return std::nullopt;
            }
            return urlEscapedPath(fs::path(*written).lexically_relative(pageDir).string());
        });
    if (failed) return std::nullopt;
    return result;
}

int mimeOf(const std::string& file, const std::optional<std::string>& output,
           const std::optional<std::string>& resourceDir) {
    auto data = readInput(file, maxInputSize());
    if (!data) {
        reportFailure(file, data.error());
        return kExitFailed;
    }
    auto root = MimePart::mimePartForData(*data);
    auto page = root->webArchiveData();
    if (!page) {
        reportFailure(file, "the message has nothing to display");
        return kExitFailed;
    }
    const auto resources = root->webArchiveResources();
    std::optional<std::string> result;
    if (resourceDir)
        result = pageWithResourceFiles(file, *root, *page, resources, *resourceDir, output);
    else
        result = pageWithResourceURLs(*page, resources, [](const WebResource& r) {
            return std::optional<std::string>(dataURIForResource(r));
        });
    if (!result) return kExitFailed;
    if (!writeOutput(output, Bytes::adoptString(std::move(*result)), file)) return kExitFailed;
    return kExitOK;
}

}  // namespace

int runMime(const std::string& file, const std::optional<std::string>& output,
            const std::optional<std::string>& resourceDir) {
    return guardedInput(file, [&] { return mimeOf(file, output, resourceDir); });
}

}  // namespace qb::cli
