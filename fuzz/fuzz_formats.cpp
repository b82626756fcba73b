// File-format detection, which opens ZIP archives and compound files to look inside.
#include <string>
#include <string_view>

#include "formats/QBFileFormat.h"
#include "platform/Log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    (void)qb::QBFileFormat::fileFormatOfData(bytes);
    // The same bytes behind a ZIP and a compound-file signature reach the container readers.
    for (std::string_view prefix : {std::string_view("PK\x03\x04", 4),
                                    std::string_view("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8)}) {
        std::string withPrefix(prefix);
        withPrefix.append(reinterpret_cast<const char*>(data), size);
        (void)qb::QBFileFormat::fileFormatOfData(qb::Bytes::fromString(withPrefix));
    }
    return 0;
}
