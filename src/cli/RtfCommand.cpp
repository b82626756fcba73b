// SPDX-License-Identifier: Apache-2.0
// quillbox rtf: the RTF body itself, the HTML page the exporter makes of it, or its plain
// text; a checksum mismatch is a warning, not a failure.
#include <fmt/format.h>

#include <cstdio>

#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "exporters/RTFExporter.h"
#include "model/CompressedRTF.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "richtext/RTFEncapsulation.h"
#include "richtext/RTFReader.h"

namespace qb::cli {

namespace {

// The body in the form asked for: the RTF itself, the page extract writes, or its text.
std::optional<Bytes> bodyAs(RTFBodyForm form, const std::shared_ptr<const OutlookMessage>& message,
                            const Bytes& rtf) {
    if (form == RTFBodyForm::RTF) return rtf;
    if (form == RTFBodyForm::HTML) {
        auto exporter = RTFExporter::create(message);
        if (!exporter || exporter->mimeType() != "text/html") return std::nullopt;
        return exporter->data();
    }
    if (encapsulationOfRTF(rtf.view()) == RTFEncapsulation::Text)
        if (auto text = decapsulateRTF(rtf.view())) return Bytes::adoptString(std::move(*text));
    auto styled = readRTF(rtf);
    if (!styled) return std::nullopt;
    return Bytes::adoptString(styled->plainText());
}

int rtfOf(const std::string& file, const std::optional<std::string>& output, RTFBodyForm form) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, *in.error);
        return finishInput(in, kExitFailed);
    }
    const MAPIPropList* props = in.message->mapiprops();
    auto prop = props ? findPropID(*props, propId(PR_RTF_COMPRESSED), PT_BINARY) : nullptr;
    if (!prop || !prop->value()) {
        reportFailure(file, "the message has no RTF body");
        return 1;
    }
    const auto& value = *prop->value();
    auto rtf = valueAs<Bytes>(value.value());
    if (!rtf) {
        reportFailure(file, "the RTF body is damaged and could not be decompressed");
        return 1;
    }
    if (auto stream = value.variableBytes(); stream && stream->size() >= kCompressedRTFHeaderSize) {
        if (!compressedRTFCRCMatches(*stream))
            reportFailure(file, "warning: the RTF body's checksum does not match its content");
    }
    auto body = bodyAs(form, in.message, *rtf);
    if (!body) {
        reportFailure(file, form == RTFBodyForm::HTML ? "the RTF body could not be made into HTML"
                                                      : "the RTF body holds no readable text");
        return finishInput(in, kExitFailed);
    }
    if (!writeOutput(output, *body, file)) return 1;
    return finishInput(in, kExitOK);
}

}  // namespace

int runRTF(const std::string& file, const std::optional<std::string>& output, RTFBodyForm form) {
    return guardedInput(file, [&] { return rtfOf(file, output, form); });
}

}  // namespace qb::cli
