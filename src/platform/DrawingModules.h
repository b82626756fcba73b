// SPDX-License-Identifier: Apache-2.0
// The C function tables the loadable drawing modules (file icons, PDF pages) export. Plain C
// types only: the library and a module built apart must agree across the dlopen boundary.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

// Buffers a module returns are its own (malloc'd); give them back through its `release`.
struct QBIconModuleTable {
    uint32_t version;
    // The media type of files with this name ("application/pdf"; "application/octet-stream"
    // when nothing matches), NUL-terminated into `out`; returns its length, 0 when it does not
    // fit into `capacity`.
    size_t (*media_type)(const char* name, size_t name_length, char* out, size_t capacity);
    // The type's icon drawn into 128 x 128, as PNG; null when it cannot be drawn.
    uint8_t* (*type_icon_png)(const char* media_type, size_t* png_length);
    // The type's icon in 64 px with the name under it, 128 x 128, as PNG; null on failure.
    uint8_t* (*icon_with_name_png)(const char* media_type, const char* name, size_t name_length,
                                   size_t* png_length);
    void (*release)(uint8_t* buffer);
};

struct QBPageModuleTable {
    uint32_t version;
    // The first page of the PDF as PNG, at most max_width pixels wide; null when the document
    // cannot be read or has no page.
    uint8_t* (*first_page_png)(const uint8_t* pdf, size_t pdf_length, int max_width,
                               size_t* png_length, int* width, int* height);
    void (*release)(uint8_t* buffer);
};

typedef const void* (*QBIconModuleEntry)(void);  /* gives a QBIconModuleTable */
typedef const void* (*QBPageModuleEntry)(void);  /* gives a QBPageModuleTable */

}  // extern "C"

namespace qb {

inline constexpr uint32_t kIconModuleVersion = 1;
inline constexpr const char* kIconModuleFile = "qbcore-icons.so";
inline constexpr const char* kIconModuleEntry = "qb_icon_module";

inline constexpr uint32_t kPageModuleVersion = 1;
inline constexpr const char* kPageModuleFile = "qbcore-pdf.so";
inline constexpr const char* kPageModuleEntry = "qb_page_module";

}  // namespace qb
