// SPDX-License-Identifier: Apache-2.0
// The attachments an HTML body shows itself: those it refers to by "cid:" URLs, and those
// URLs pointed at the files the attachments were written to.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "model/OutlookMessage.h"

namespace qb {

// A content id without the white space and angle brackets around it.
std::string bareContentID(std::string_view contentID);
// The same in lower case, as "cid:" URLs are compared.
std::string normalizedContentID(std::string_view contentID);

// The normalised content id a "cid:" URL names; nothing for any other URL.
std::optional<std::string> contentIDOfURL(std::string_view url);

// A file name as a relative URL: every character but letters, digits and "-_.~" escaped.
std::string urlEscapedFileName(std::string_view name);
// A relative path as a URL: the same, with its "/" kept.
std::string urlEscapedPath(std::string_view path);

// Every content id that `html` refers to with a "cid:" URL, normalised.
std::set<std::string> contentIDsReferencedBy(std::string_view html);

// The same for the message's HTML body as it is stored; empty without one.
std::set<std::string> contentIDsReferencedByHTMLBody(const OutlookMessage& message);

// Normalised content ids to the relative names of the files that hold those parts.
using ContentIDFiles = std::map<std::string, std::string>;

// `html` with every "cid:ID" whose ID is in `files` replaced by that file's name, escaped
// for a URL, so that the page opens in a browser with its pictures; other references stay.
std::string htmlWithContentIDsLinked(std::string_view html, const ContentIDFiles& files);

}  // namespace qb
