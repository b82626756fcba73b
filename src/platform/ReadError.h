// SPDX-License-Identifier: Apache-2.0
// Why an input could not be read, and where: the library's one error shape, with the small
// Expected<T> its entry points return. The readers' own error objects and log lines are views
// of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "platform/Export.h"

namespace qb {

struct QB_API ReadError {
    std::string domain;  ///< "TNEFErrorDomain", "OXMessageErrorDomain", "POSIX"
    int code = 0;
    /// May leave the file name open as "%@"; withFilename() fills it.
    std::string description;
    /// Where in the input reading stopped, when that is known.
    std::optional<uint64_t> offset;

    /// The description with "%@" replaced by `filename`.
    std::string withFilename(const std::string& filename) const;
    /// "description (at offset N)", with the file name filled in.
    std::string message(const std::string& filename) const;
};

/// A value, or the reason there is none. Small on purpose: g++ 12 has no std::expected.
template <class T>
class [[nodiscard]] Expected {
  public:
    Expected(T value) : v_(std::in_place_index<0>, std::move(value)) {}
    Expected(ReadError error) : v_(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const { return v_.index() == 0; }
    bool hasValue() const { return v_.index() == 0; }

    T& operator*() & { return std::get<0>(v_); }
    const T& operator*() const& { return std::get<0>(v_); }
    T&& operator*() && { return std::get<0>(std::move(v_)); }
    T* operator->() { return &std::get<0>(v_); }
    const T* operator->() const { return &std::get<0>(v_); }

    /// Only when there is no value.
    const ReadError& error() const { return std::get<1>(v_); }

  private:
    std::variant<T, ReadError> v_;
};

}  // namespace qb
