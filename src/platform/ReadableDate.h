// SPDX-License-Identifier: Apache-2.0
// Dates as a person reads them in a message view: the locale's medium date and time style
// (ICU), in the reader's time zone.
#pragma once

#include <string>
#include <string_view>

#include "platform/Date.h"

namespace qb {

// The date in the medium date style and medium time style of `locale` ("en_US"; empty: the
// default locale), shown in the IANA zone `zone` (empty: the default zone). An unknown zone
// shows UTC ("GMT" in the locale's words).
std::string formatMediumDateTime(Date date, std::string_view locale = {},
                                 std::string_view zone = {});

}  // namespace qb
