// SPDX-License-Identifier: Apache-2.0
// The compound-file reader and the .msg reader on top of it; what the reader makes of the
// input is copied and written again.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzMsg(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
