// SPDX-License-Identifier: Apache-2.0
// libzip reads the archive in place from the caller's bytes; the compound file goes through
// our own reader. Both give nothing for damaged input rather than failing.
#include "formats/ContainerEntries.h"

#include <zip.h>

#include "OXMSG/cfb/CFBEntry.h"

namespace qb {

std::vector<std::string> zipEntryNames(const Bytes& data) {
    std::vector<std::string> names;
    if (data.empty()) return names;
    zip_error_t error;
    zip_error_init(&error);
    // The source reads the caller's bytes in place; nothing is copied or freed by libzip.
    zip_source_t* source = zip_source_buffer_create(data.data(), data.size(), 0, &error);
    if (!source) {
        zip_error_fini(&error);
        return names;
    }
    zip_t* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!archive) {
        zip_source_free(source);
        zip_error_fini(&error);
        return names;
    }
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count && i < 100000; ++i)
        if (const char* name = zip_get_name(archive, zip_uint64_t(i), ZIP_FL_ENC_RAW))
            names.emplace_back(name);
    zip_discard(archive);
    zip_error_fini(&error);
    return names;
}

std::vector<std::string> compoundFileEntryNames(const Bytes& data) {
    std::vector<std::string> names;
    if (auto root = CFBEntry::create(data))
        for (const auto& e : root->entries())
            names.push_back(e->name());
    return names;
}

}  // namespace qb
