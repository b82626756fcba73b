// SPDX-License-Identifier: Apache-2.0
// One-off member entry ids and the card builder, on items made from the input.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzVCF(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
