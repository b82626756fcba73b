#pragma once

#include <string>

namespace qb {

// A fresh random UUID in canonical upper-case form: 36 characters with hyphens.
std::string newUUIDString();

}  // namespace qb
