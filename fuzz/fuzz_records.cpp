// The small record readers that read fields out of property values and OLE streams: the
// one-off entry id and the packaged file of an Ole10Native stream, in 8-bit and Unicode forms.
#include "formats/Ole10Native.h"
#include "model/OneOffEntryID.h"
#include "platform/Log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    for (qb::StringEncoding e : {qb::kWindowsCP1252Encoding, qb::kUTF8Encoding}) {
        (void)qb::smtpAddressOfEntryID(bytes, e);
        if (auto package = qb::readOle10Native(bytes, e)) (void)qb::packageFilename(*package);
    }
    return 0;
}
