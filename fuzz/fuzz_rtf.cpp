// Compressed RTF: header checks, CRC, LZFu expansion.
#include "model/CompressedRTF.h"
#include "platform/Log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = (qb::setLogSink({}), true);
    (void)quiet;
    const qb::Bytes bytes = qb::Bytes::copy(data, size);
    (void)qb::decompressRTF(bytes, true);
    (void)qb::decompressRTF(bytes, false);
    // With a consistent size field, so that the expander itself is reached.
    if (size >= 16) {
        std::vector<uint8_t> fixed(data, data + size);
        const uint32_t compSize = uint32_t(size - 4);
        for (int i = 0; i < 4; ++i)
            fixed[size_t(i)] = uint8_t(compSize >> (8 * i));
        fixed[8] = 'L', fixed[9] = 'Z', fixed[10] = 'F', fixed[11] = 'u';
        (void)qb::decompressRTF(qb::Bytes::adopt(std::move(fixed)), true);
    }
    return 0;
}
