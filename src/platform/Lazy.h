// SPDX-License-Identifier: Apache-2.0
// A value made on first use, once, whichever thread asks first. The readers decode values,
// entries and derived fields this way so that a message costs only what is looked at.
#pragma once

#include <mutex>
#include <optional>
#include <utility>

namespace qb {

template <class T>
class Lazy {
  public:
    Lazy() = default;
    Lazy(const Lazy&) = delete;
    Lazy& operator=(const Lazy&) = delete;

    /// The value, made by `make` on the first call; later calls return the same value and
    /// never run their `make`. If `make` throws, the next call tries again.
    template <class Make>
    const T& get(Make&& make) const {
        std::call_once(once_, [&] { value_.emplace(std::forward<Make>(make)()); });
        return *value_;
    }

    /// Gives the value before anyone asked for it; false (and nothing changes) when it has
    /// been made already.
    bool preset(T value) {
        bool set = false;
        std::call_once(once_, [&] {
            value_.emplace(std::move(value));
            set = true;
        });
        return set;
    }

  private:
    mutable std::once_flag once_;
    mutable std::optional<T> value_;
};

}  // namespace qb
