#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/Bytes.h"

namespace qb::cli {

// A folder that files are written into under safe names, never replacing anything: a taken
// name gets " (2)", " (3)", … before its extension.
class ExtractFolder {
  public:
    // Creates a new folder `name` (made safe, numbered when taken) inside `parent`; errno
    // and nothing on failure.
    static std::optional<ExtractFolder> create(const std::string& parent, const std::string& name);

    const std::string& path() const { return path_; }
    // Writes the bytes under the safe form of `name`; the path written, or nothing with
    // errno set.
    std::optional<std::string> write(const std::string& name, const Bytes& data);

  private:
    explicit ExtractFolder(std::string path) : path_(std::move(path)) {}
    std::string path_;
    std::map<std::string, unsigned> nextNumber_;
};

}  // namespace qb::cli
