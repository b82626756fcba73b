// The compound-file reader and the .msg reader on top of it; what the reader makes of the
// input is copied and written again.
#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CompoundFileCopy.h"
#include "platform/Log.h"
#include "support/MessageWalker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    if (auto root = qb::CFBEntry::create(bytes)) {
        qb::test::touchStorage(*root);
        // Copied and written again, it must open, with every entry the copy kept.
        if (auto copy = qb::copyOfStorage(*root))
            if (auto written = qb::writeCompoundFile(*copy)) {
                auto again = qb::CFBEntry::create(*written);
                if (!again || again->entries().size() != copy->children.size()) __builtin_trap();
            }
    }
    for (bool ignoreChecksum : {true, false})
        if (auto m = qb::OXMessage::create(bytes, ignoreChecksum)) qb::test::touchMessage(*m);
    return 0;
}
