#include <fmt/format.h>

#include <cstdio>

#include "cli/Commands.h"
#include "cli/MessageInput.h"
#include "cli/OutputFile.h"
#include "model/CompressedRTF.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/ByteReader.h"

namespace qb::cli {

namespace {

int rtfOf(const std::string& file, const std::optional<std::string>& output) {
    OpenedInput in = openInput(file);
    if (!in.message) {
        reportFailure(file, in.error.value_or("cannot be read"));
        return 1;
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
    if (auto stream = value.variableBytes(); stream && stream->size() >= 16) {
        if (calculateCRC32(stream->data() + 16, stream->size() - 16) !=
            *ByteReader::u32le(*stream, 12))
            reportFailure(file, "warning: the RTF body's checksum does not match its content");
    }
    if (!writeOutput(output, *rtf, file)) return 1;
    return finishInput(in, in.error ? kExitFailed : kExitOK);
}

}  // namespace

int runRTF(const std::string& file, const std::optional<std::string>& output) {
    return guardedInput(file, [&] { return rtfOf(file, output); });
}

}  // namespace qb::cli
