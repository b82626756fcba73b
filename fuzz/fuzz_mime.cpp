// SPDX-License-Identifier: Apache-2.0
// MIME part trees read from any bytes (nesting, boundaries, disposition and type parameters,
// transfer encodings), then displayed: page, resources, attachments, content lookups; and the
// same bytes read as the signed entity of a message, for its text and HTML.
// The body lives in tests/support/FuzzTargets.cpp, where the test that replays findings runs it
// too.
#include "platform/Log.h"
#include "support/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    if (!qb::fuzz::fuzzMime(qb::Bytes::copy(data, size))) __builtin_trap();
    return 0;
}
