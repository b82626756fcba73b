// The first page of a PDF as a picture, drawn by the PDF module (poppler, GPL) when the build
// has it; the library itself links no GPL code.
#pragma once

#include <optional>

#include "platform/Bytes.h"

namespace qb {

struct RenderedPage {
    Bytes png;
    int width = 0;
    int height = 0;
};
/// The first page of a PDF as PNG, at most maxWidth pixels wide. nullopt when the PDF
/// module is not there (a build without poppler) or the document cannot be read.
std::optional<RenderedPage> renderFirstPDFPage(const Bytes& pdf, int maxWidth);

}  // namespace qb
