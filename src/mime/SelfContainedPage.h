// SPDX-License-Identifier: Apache-2.0
// A part's display page made to stand alone: the "cid:" references it holds point at its
// resources as data: URIs, or at files written beside it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mime/WebResource.h"

namespace qb {

// "data:<type>;base64,<bytes>".
std::string dataURIForResource(const WebResource& resource);

// The page with every "cid:ID" reference (ID as written, or percent-escaped) that names one
// of `resources` replaced by `urlFor(resource)`; references to no resource, or for which
// `urlFor` gives nothing, stay as they are. Linear in the page.
std::string pageWithResourceURLs(
    std::string_view page, const std::vector<WebResource>& resources,
    const std::function<std::optional<std::string>(const WebResource&)>& urlFor);

}  // namespace qb
