// SPDX-License-Identifier: Apache-2.0
// What Python's vobject reads in vCard text: an independent check of the cards we write.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Dictionary.h"

namespace qb::test {

// Whether /usr/bin/python3 has vobject (Debian python3-vobject).
bool haveVobject();

// For each text, vobject's reading of it (see vcard_report.py): a list of cards, or an object
// with "error". Nothing when vobject is missing or the script failed.
std::optional<Dictionary> vobjectReport(const std::vector<std::string>& cards);

}  // namespace qb::test
