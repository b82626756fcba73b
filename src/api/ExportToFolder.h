// SPDX-License-Identifier: Apache-2.0
// A message's exports written into a new folder of their own: bodies, attachments, nested
// messages as .eml, the view (View.html), metadata.json and manifest.json.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/OutlookMessage.h"
#include "platform/Export.h"
#include "platform/FileIcon.h"
#include "platform/ReadError.h"

namespace qb {

struct QB_API ExportedFile {
    std::string path;      ///< as written: the folder's path joined with the file's name
    std::string exporter;  ///< what made it ("AttachmentExporter", "metadata", ...)
    uint64_t size = 0;
    std::string sha256;  ///< of its bytes, in lower-case hexadecimal
};

/// The domain of errors the exports give themselves (file-system errors are "POSIX").
inline constexpr const char* kExportErrorDomain = "QBExportErrorDomain";
inline constexpr int kExportErrorOverBudget = 1;
/// The message's body gives no document to make its view of (messageViewHTML).
inline constexpr int kExportErrorNoView = 2;

/// The most the exports of one input may write: 64 times the input plus its attachments' own
/// bytes, and at least 16 MB. Real messages stay far below; crafted nesting would not.
QB_API uint64_t outputBudgetFor(const OutlookMessage& message);

struct QB_API FolderExportOptions {
    /// The most all files together may hold; 0 means outputBudgetFor(message).
    uint64_t outputBudget = 0;
    /// Also each body as the message stores it (Message.original.html, Message.rtf).
    bool originalBodies = false;
    /// Checked between files and within large ones; once true, the export stops.
    const std::atomic<bool>* cancel = nullptr;
    /// The pictures of the attachments in View.html: the desktop's icons; unset leaves them
    /// out.
    FileIconSource iconSource = fileTypeIconPNG;
    /// Told of each file once it is complete under its final name.
    std::function<void(const ExportedFile&)> fileWritten;
    /// Told of each file that could not be written: its path and errno.
    std::function<void(const std::string& path, int error)> fileFailed;
};

struct QB_API FolderExport {
    std::string folder;                   ///< the folder made for the message
    std::vector<ExportedFile> files;      ///< in the order written
    std::vector<std::string> notWritten;  ///< names left out: cancelled, or past the budget
    bool complete = true;                 ///< every file written
    /// Set when the next file would have passed the output budget; the export stopped there.
    std::optional<uint64_t> budgetExceeded;
};

/// The folder name for an input file: its name without folders and extension ("stdin" for
/// "-").
QB_API std::string folderNameForInput(const std::string& file);

/// Makes a new folder called `folderName` (made safe, numbered when taken, never reused)
/// inside the folder open as `parentFd` (shown as `parentPath`) and writes every export of the
/// message into it, under safe names that never replace a file; each file is written whole or
/// not at all. metadata.json and manifest.json (every file with its exporter, size and
/// SHA-256) come last and keep their names. Fails only when the folder cannot be made.
[[nodiscard]] QB_API Expected<FolderExport> exportToFolder(
    const std::shared_ptr<const OutlookMessage>& message, int parentFd,
    const std::string& parentPath, const std::string& folderName,
    const FolderExportOptions& options = {});

/// The same, with the parent folder given by its path (made when missing).
[[nodiscard]] QB_API Expected<FolderExport> exportToFolder(
    const std::shared_ptr<const OutlookMessage>& message, const std::string& parentPath,
    const std::string& folderName, const FolderExportOptions& options = {});

}  // namespace qb
