// SPDX-License-Identifier: Apache-2.0
// Rich text: the RTF and HTML readers, the writers, the recovery of encapsulated HTML and text,
// and picture documents.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzRichText(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
