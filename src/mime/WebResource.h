// SPDX-License-Identifier: Apache-2.0
// What a displayed MIME part hands the viewer beside its page: a picture, a file or another
// body that the page addresses by a "cid:" URL.
#pragma once

#include <string>

#include "platform/Bytes.h"

namespace qb {

struct WebResource {
    Bytes data;
    std::string url;               // "cid:<content id>"
    std::string mimeType;          // "image/png"
    std::string textEncodingName;  // "base64", or the part's transfer encoding
    std::string frameName;         // always empty: parts are never shown in frames
};

}  // namespace qb
