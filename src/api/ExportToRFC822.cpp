// The top-level message assembled and serialised as one .eml.
#include "api/ExportToRFC822.h"

#include <cerrno>
#include <cstring>

#include "api/WholeFile.h"
#include "exporters/TNEFMessageExporter.h"

namespace qb {

Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message) {
    auto exporter = TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822);
    return exporter && exporter->data() ? *exporter->data() : Bytes();
}

Expected<uint64_t> exportToRFC822(const std::shared_ptr<const OutlookMessage>& message,
                                  const std::string& path) {
    const Bytes data = rfc822Data(message);
    if (!writeFileWhole(path, data))
        return ReadError{"POSIX", errno, path + ": " + std::strerror(errno), std::nullopt};
    return uint64_t(data.size());
}

}  // namespace qb
