// SPDX-License-Identifier: Apache-2.0
// The top-level message assembled and serialised as one .eml.
#include "api/ExportToRFC822.h"

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "api/ExportToFolder.h"
#include "api/WholeFile.h"
#include "exporters/TNEFMessageExporter.h"

namespace qb {

Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message) {
    auto exporter = TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822);
    return exporter && exporter->data() ? *exporter->data() : Bytes();
}

Expected<Bytes> rfc822Message(const std::shared_ptr<const OutlookMessage>& message,
                              uint64_t outputBudget) {
    Bytes data = rfc822Data(message);
    const uint64_t budget = outputBudget ? outputBudget : outputBudgetFor(*message);
    if (data.size() > budget)
        return ReadError{kExportErrorDomain, kExportErrorOverBudget,
                         fmt::format("the message would take {} bytes as .eml, more than the {} "
                                     "bytes its input may produce; nothing was written",
                                     data.size(), budget),
                         std::nullopt};
    return data;
}

Expected<uint64_t> exportToRFC822(const std::shared_ptr<const OutlookMessage>& message,
                                  const std::string& path, uint64_t outputBudget) {
    auto message822 = rfc822Message(message, outputBudget);
    if (!message822) return message822.error();
    const Bytes& data = *message822;
    if (!writeFileWhole(path, data))
        return ReadError{"POSIX", errno, path + ": " + std::strerror(errno), std::nullopt};
    return uint64_t(data.size());
}

}  // namespace qb
