// SPDX-License-Identifier: Apache-2.0
// The date a message was sent, wherever its reader keeps it.
#pragma once

#include <optional>

#include "model/OutlookMessage.h"

namespace qb {

// The message's date field; a .msg keeps its dates in its properties instead: the submit
// time, else the delivery time.
std::optional<Date> messageDate(const OutlookMessage& message);

}  // namespace qb
