// The PDF first-page picture (the PDF module, loaded as quillbox loads it) on any bytes.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzPDFPage(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
