// SPDX-License-Identifier: Apache-2.0
// Bodies measured, people shown by their Internet address, and nested messages walked to
// the readers' own depth limit.
#include "cli/MessageSummary.h"

#include <fmt/format.h>

#include "api/MessageInfo.h"
#include "cli/ValueSummary.h"
#include "model/MessageDate.h"
#include "tnef/TNEFAttachment.h"
#include "tnef/TNEFMessage.h"

namespace qb::cli {

namespace {

constexpr int kMaxNesting = TNEFMessage::kMaxDepth;

// The person as `info` shows them: the name with the Internet address, the SMTP address
// standing in for an X.500 name.
std::string addressText(const Address& a) {
    const auto address = internetAddress(a);
    const auto name = a.displayName();
    if (name && !name->empty() && address && !address->empty())
        return fmt::format("{} <{}>", *name, *address);
    return a.email().value_or("");
}

std::string addressListText(const AddressList& list) {
    std::string out;
    for (const auto& a : list) {
        if (!out.empty()) out += ", ";
        const std::string text = addressText(*a);
        out += text.empty() ? "(empty)" : text;
    }
    return out;
}

std::string messageText(const OutlookMessage& m, int indent, int depth) {
    const std::string pad(size_t(indent) * 2, ' ');
    std::string out;
    auto line = [&](const char* label, const std::string& value) {
        if (!value.empty()) out += fmt::format("{}{:<9} {}\n", pad, label, escapedText(value));
    };
    line("class:", m.messageClass().value_or(""));
    line("subject:", m.subject().value_or(""));
    const auto date = messageDate(m);
    line("date:", date ? formatRFC3339(*date) : "");
    line("from:", m.sender() ? addressText(*m.sender()) : "");
    line("to:", addressListText(m.toRecipients()));
    line("cc:", addressListText(m.ccRecipients()));
    line("bcc:", addressListText(m.bccRecipients()));
    const MessageBodies bodies = messageBodies(m);
    std::string sizes;
    auto body = [&](const char* name, const auto& content) {
        if (!content) return;
        if (!sizes.empty()) sizes += ", ";
        sizes += fmt::format("{} ({} bytes)", name, content->size());
    };
    body("plain", bodies.plain);
    body("html", bodies.html);
    body("rtf", bodies.rtf);
    line("bodies:", sizes.empty() ? "none" : sizes);
    out += fmt::format("{}attachments: {}\n", pad, m.attachments().size());
    for (const auto& a : m.attachments()) {
        auto data = a->rawData();
        out +=
            fmt::format("{}  - {}  {}  {}\n", pad, escapedText(a->filename().value_or("(no name)")),
                        escapedText(a->mimeType().value_or("-")),
                        data ? fmt::format("{} bytes", data->size()) : "no data");
        if (auto nested = a->nestedMessage(); nested && depth < kMaxNesting)
            out += messageText(*nested, indent + 2, depth + 1);
    }
    return out;
}

}  // namespace

std::string messageText(const OutlookMessage& message, int indent) {
    return messageText(message, indent, 0);
}

}  // namespace qb::cli
