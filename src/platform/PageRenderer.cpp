// PDF first pages through the PDF module.
#include "platform/PageRenderer.h"

#include <mutex>

#include "platform/DrawingModules.h"
#include "platform/ModuleBuffer.h"
#include "platform/ModuleLoader.h"

namespace qb {

std::optional<RenderedPage> renderFirstPDFPage(const Bytes& pdf, int maxWidth) {
    static std::once_flag once;
    static const QBPageModuleTable* module = nullptr;
    std::call_once(once, [] {
        module = static_cast<const QBPageModuleTable*>(loadModuleTable(
            kPageModuleFile, kPageModuleEntry, kPageModuleVersion, "PDF page pictures"));
    });
    if (!module || pdf.empty() || maxWidth <= 0) return std::nullopt;
    size_t length = 0;
    int width = 0, height = 0;
    uint8_t* png =
        module->first_page_png(pdf.data(), pdf.size(), maxWidth, &length, &width, &height);
    if (!png) return std::nullopt;
    return RenderedPage{adoptModuleBuffer(png, length, module->release), width, height};
}

}  // namespace qb
