// SPDX-License-Identifier: Apache-2.0
// The top-level message assembled as one .eml: its size is known before anything is encoded,
// so the budget is checked first, and the bytes go out as they are produced.
#include "api/ExportToRFC822.h"

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "api/ExportToFolder.h"
#include "api/WholeFile.h"
#include "exporters/TNEFMessageExporter.h"

namespace qb {

namespace {

// The message's body, or why it may not be written.
Expected<MimeBody> budgetedBody(const std::shared_ptr<const OutlookMessage>& message,
                                uint64_t outputBudget) {
    MimeBody body = rfc822Body(message);
    const uint64_t budget = outputBudget ? outputBudget : outputBudgetFor(*message);
    if (body.size() > budget)
        return ReadError{kExportErrorDomain, kExportErrorOverBudget,
                         fmt::format("the message would take {} bytes as .eml, more than the {} "
                                     "bytes its input may produce; nothing was written",
                                     body.size(), budget),
                         std::nullopt};
    return body;
}

ReadError writeError(const std::string& name) {
    return ReadError{"POSIX", errno, name + ": " + std::strerror(errno), std::nullopt};
}

}  // namespace

MimeBody rfc822Body(const std::shared_ptr<const OutlookMessage>& message) {
    auto exporter = TNEFMessageExporter::create(message, nullptr, ExportMode::RFC822);
    return exporter && exporter->body() ? *exporter->body() : MimeBody();
}

Bytes rfc822Data(const std::shared_ptr<const OutlookMessage>& message) {
    return Bytes::adoptString(rfc822Body(message).str());
}

Expected<Bytes> rfc822Message(const std::shared_ptr<const OutlookMessage>& message,
                              uint64_t outputBudget) {
    auto body = budgetedBody(message, outputBudget);
    if (!body) return body.error();
    return Bytes::adoptString(body->str());
}

Expected<uint64_t> exportToRFC822(const std::shared_ptr<const OutlookMessage>& message,
                                  const std::string& path, uint64_t outputBudget,
                                  const std::atomic<bool>* cancel) {
    auto body = budgetedBody(message, outputBudget);
    if (!body) return body.error();
    if (!writeFileWhole(path, [&](int fd) { return writeBodyTo(fd, *body, cancel); }))
        return writeError(path);
    return body->size();
}

Expected<uint64_t> writeRFC822(const std::shared_ptr<const OutlookMessage>& message, int fd,
                               const std::string& name, uint64_t outputBudget,
                               const std::atomic<bool>* cancel) {
    auto body = budgetedBody(message, outputBudget);
    if (!body) return body.error();
    if (!writeBodyTo(fd, *body, cancel)) return writeError(name);
    return body->size();
}

}  // namespace qb
