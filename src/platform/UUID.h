// SPDX-License-Identifier: Apache-2.0
// UUIDs for MIME boundaries: random ones, and name-based ones so the same parts always get
// the same boundary.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace qb {

// A fresh random UUID in canonical upper-case form: 36 characters with hyphens.
std::string newUUIDString();

// A name-based UUID (version 5, SHA-1) in the same form, of a name given in pieces: the same
// pieces always give the same UUID.
class NameBasedUUID {
  public:
    NameBasedUUID();
    ~NameBasedUUID();
    NameBasedUUID(const NameBasedUUID&) = delete;
    NameBasedUUID& operator=(const NameBasedUUID&) = delete;

    void add(std::string_view piece);
    std::string finish();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qb
