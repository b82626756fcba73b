// SPDX-License-Identifier: Apache-2.0
// Reading the date-time of a mail header, the way the outer mail of a winmail.dat writes
// its Date field.
#pragma once

#include <optional>
#include <string_view>

#include "platform/Date.h"

namespace qb {

// Parses "[Wed, ]22 Apr 2009 14:36[:33] +0200"; a named zone (GMT, UT, Z, EST...) or none
// counts as its offset or UTC. Comments after it are ignored.
std::optional<Date> parseMailDate(std::string_view text);

}  // namespace qb
