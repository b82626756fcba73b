// SPDX-License-Identifier: Apache-2.0
// Finds and opens the loadable drawing modules.
#include "platform/ModuleLoader.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>

#include "platform/Log.h"

namespace qb {

std::vector<std::string> moduleSearchPath() {
    std::vector<std::string> dirs;
    if (const char* env = std::getenv("QB_MODULE_DIR"); env && *env) dirs.emplace_back(env);
#ifdef QB_MODULE_BUILD_DIR
    dirs.emplace_back(QB_MODULE_BUILD_DIR);
#endif
#ifdef QB_MODULE_INSTALL_DIR
    dirs.emplace_back(QB_MODULE_INSTALL_DIR);
#endif
    return dirs;
}

const void* openModuleTable(const std::vector<std::string>& dirs, std::string_view fileName,
                            const char* entry, uint32_t version, std::string& why) {
    why = fmt::format("{} not found", fileName);
    for (const auto& dir : dirs) {
        if (dir.empty()) continue;
        std::string path = dir + "/" + std::string(fileName);
        // Local symbols: two modules may carry the same helper code without clashing.
        void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* error = dlerror();
            // A folder without the file is normal; a file that does not load is worth saying.
            if (error && std::string_view(error).find("No such file") == std::string_view::npos)
                why = error;
            continue;
        }
        void* symbol = dlsym(handle, entry);
        if (!symbol) {
            why = fmt::format("{} has no entry point {}", path, entry);
            continue;
        }
        // The tables begin with their version; a module from another build is not trusted.
        // Called through the type the entry points are defined with (a mismatch is undefined).
        using Entry = const void* (*)();
        const auto* table = static_cast<const uint32_t*>(reinterpret_cast<Entry>(symbol)());
        if (!table || *table != version) {
            why = fmt::format("{} has version {}, not {}", path, table ? *table : 0, version);
            continue;
        }
        return table;
    }
    return nullptr;
}

const void* loadModuleTable(std::string_view fileName, const char* entry, uint32_t version,
                            std::string_view what) {
    std::string why;
    const void* table = openModuleTable(moduleSearchPath(), fileName, entry, version, why);
    if (!table) logf("no {}: cannot load the module ({})", what, why);
    return table;
}

}  // namespace qb
