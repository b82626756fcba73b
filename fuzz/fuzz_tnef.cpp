// The TNEF reader: records, property lists, fields, attachments, embedded messages.
#include "platform/Log.h"
#include "support/MessageWalker.h"
#include "tnef/TNEFMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    for (bool ignoreChecksum : {true, false}) {
        qb::TNEFError error;
        auto m =
            qb::TNEFMessage::create(qb::Bytes::copy(data, size), nullptr, ignoreChecksum, &error);
        if (m) qb::test::touchMessage(*m);
    }
    return 0;
}
