// SPDX-License-Identifier: Apache-2.0
// libzip reads the archive in place from the caller's bytes; the compound file goes through
// our own reader. Both give nothing for damaged input rather than failing. libzip (and the
// crypto library it brings) is loaded the first time an archive is looked into, not when the
// program starts: most runs never need it.
#include "formats/ContainerEntries.h"

#include <dlfcn.h>
#include <zip.h>

#include <mutex>
#include <type_traits>

#include "OXMSG/cfb/CFBEntry.h"

namespace qb {

namespace {

// The libzip functions used here, resolved once; all null when the library is missing.
struct ZipLibrary {
    decltype(&::zip_error_init) zip_error_init = nullptr;
    decltype(&::zip_error_fini) zip_error_fini = nullptr;
    decltype(&::zip_source_buffer_create) zip_source_buffer_create = nullptr;
    decltype(&::zip_source_free) zip_source_free = nullptr;
    decltype(&::zip_open_from_source) zip_open_from_source = nullptr;
    decltype(&::zip_get_num_entries) zip_get_num_entries = nullptr;
    decltype(&::zip_get_name) zip_get_name = nullptr;
    decltype(&::zip_discard) zip_discard = nullptr;
    decltype(&::zip_libzip_version) zip_libzip_version = nullptr;
    bool loaded = false;
};

const ZipLibrary& zipLibrary() {
    static ZipLibrary lib;
    static std::once_flag once;
    std::call_once(once, [] {
        void* handle = ::dlopen("libzip.so.4", RTLD_NOW | RTLD_LOCAL);
        if (!handle) handle = ::dlopen("libzip.so", RTLD_NOW | RTLD_LOCAL);
        if (!handle) return;
        bool all = true;
        auto resolve = [&](auto& fn, const char* name) {
            fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(::dlsym(handle, name));
            all = all && fn;
        };
        resolve(lib.zip_error_init, "zip_error_init");
        resolve(lib.zip_error_fini, "zip_error_fini");
        resolve(lib.zip_source_buffer_create, "zip_source_buffer_create");
        resolve(lib.zip_source_free, "zip_source_free");
        resolve(lib.zip_open_from_source, "zip_open_from_source");
        resolve(lib.zip_get_num_entries, "zip_get_num_entries");
        resolve(lib.zip_get_name, "zip_get_name");
        resolve(lib.zip_discard, "zip_discard");
        resolve(lib.zip_libzip_version, "zip_libzip_version");
        lib.loaded = all;
    });
    return lib;
}

}  // namespace

std::optional<std::string> zipLibraryVersion() {
    const ZipLibrary& lib = zipLibrary();
    if (!lib.loaded) return std::nullopt;
    return std::string(lib.zip_libzip_version());
}

std::vector<std::string> zipEntryNames(const Bytes& data) {
    std::vector<std::string> names;
    if (data.empty()) return names;
    const ZipLibrary& z = zipLibrary();
    if (!z.loaded) return names;
    zip_error_t error;
    z.zip_error_init(&error);
    // The source reads the caller's bytes in place; nothing is copied or freed by libzip.
    zip_source_t* source = z.zip_source_buffer_create(data.data(), data.size(), 0, &error);
    if (!source) {
        z.zip_error_fini(&error);
        return names;
    }
    zip_t* archive = z.zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!archive) {
        z.zip_source_free(source);
        z.zip_error_fini(&error);
        return names;
    }
    const zip_int64_t count = z.zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count && i < 100000; ++i)
        if (const char* name = z.zip_get_name(archive, zip_uint64_t(i), ZIP_FL_ENC_RAW))
            names.emplace_back(name);
    z.zip_discard(archive);
    z.zip_error_fini(&error);
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
