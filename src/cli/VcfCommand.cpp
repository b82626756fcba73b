// SPDX-License-Identifier: Apache-2.0
// quillbox vcf: the card of a contact or distribution list, in vCard 2.1 or 4.0.
#include <fmt/format.h>

#include <cstdio>

#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/VCFExporter.h"

namespace qb::cli {

namespace {

int vcfOf(const std::string& file, const std::optional<std::string>& output, VCardVersion version) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, *in.error);
        return finishInput(in, kExitFailed);
    }
    const auto messageClass = in.message->messageClass();
    if (!VCFExporter::canHandleMessageClass(messageClass)) {
        reportFailure(file, fmt::format("not a contact or distribution list (its class is {})",
                                        messageClass.value_or("not given")));
        return finishInput(in, kExitFailed);
    }
    auto card = VCFExporter::create(in.message, version);
    if (!card || !card->data() || card->data()->empty()) {
        reportFailure(file, "the distribution list has no member with an SMTP address");
        return finishInput(in, kExitFailed);
    }
    if (!writeOutput(output, *card->data(), file)) return kExitFailed;
    return finishInput(in, kExitOK);
}

}  // namespace

int runVcf(const std::string& file, const std::optional<std::string>& output,
           const std::string& version) {
    if (version != "2.1" && version != "4.0") {
        std::fprintf(stderr, "quillbox: vcf: --version must be 2.1 or 4.0, not %s\n",
                     version.c_str());
        return kExitUsage;
    }
    const VCardVersion v = version == "4.0" ? VCardVersion::V40 : VCardVersion::V21;
    return guardedInput(file, [&] { return vcfOf(file, output, v); });
}

}  // namespace qb::cli
