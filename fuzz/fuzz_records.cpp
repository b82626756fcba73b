// SPDX-License-Identifier: Apache-2.0
// The small record readers that read fields out of property values and OLE streams: the
// one-off entry id and the packaged file of an Ole10Native stream, in 8-bit and Unicode forms.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzRecords(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
