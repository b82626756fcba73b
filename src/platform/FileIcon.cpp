// File icons through the icons module, kept per media type.
#include "platform/FileIcon.h"

#include <map>
#include <mutex>
#include <string>

#include "platform/DrawingModules.h"
#include "platform/ModuleBuffer.h"
#include "platform/ModuleLoader.h"

namespace qb {
namespace {

const QBIconModuleTable* iconModule() {
    static std::once_flag once;
    static const QBIconModuleTable* table = nullptr;
    std::call_once(once, [] {
        table = static_cast<const QBIconModuleTable*>(
            loadModuleTable(kIconModuleFile, kIconModuleEntry, kIconModuleVersion, "file icons"));
    });
    return table;
}

std::optional<std::string> mediaTypeOf(const QBIconModuleTable& module, std::string_view name) {
    char buffer[256];
    size_t length = module.media_type(name.data(), name.size(), buffer, sizeof buffer);
    if (length == 0 || length >= sizeof buffer) return std::nullopt;
    return std::string(buffer, length);
}

}  // namespace

std::optional<Bytes> fileTypeIconPNG(std::string_view fileName) {
    const QBIconModuleTable* module = iconModule();
    if (!module) return std::nullopt;
    auto type = mediaTypeOf(*module, fileName);
    if (!type) return std::nullopt;

    static std::mutex mutex;
    static std::map<std::string, Bytes, std::less<>> drawn;
    {
        std::lock_guard lock(mutex);
        if (auto found = drawn.find(*type); found != drawn.end()) return found->second;
    }
    // Drawn outside the lock; two threads drawing the same type at once keep the first.
    size_t length = 0;
    uint8_t* png = module->type_icon_png(type->c_str(), &length);
    if (!png) return std::nullopt;
    Bytes icon = adoptModuleBuffer(png, length, module->release);
    std::lock_guard lock(mutex);
    return drawn.try_emplace(*type, std::move(icon)).first->second;
}

std::optional<Bytes> fileIconWithNamePNG(std::string_view fileName) {
    const QBIconModuleTable* module = iconModule();
    if (!module) return std::nullopt;
    auto type = mediaTypeOf(*module, fileName);
    if (!type) return std::nullopt;
    size_t length = 0;
    uint8_t* png =
        module->icon_with_name_png(type->c_str(), fileName.data(), fileName.size(), &length);
    if (!png) return std::nullopt;
    return adoptModuleBuffer(png, length, module->release);
}

}  // namespace qb
