// SPDX-License-Identifier: Apache-2.0
// A value made on first use, once, whichever thread asks first. The readers decode values,
// entries and derived fields this way so that a message costs only what is looked at.
#pragma once

#include <atomic>
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
        if (state_.load(std::memory_order_acquire) == kMade) return *value_;
        for (;;) {
            int seen = kUnmade;
            if (state_.compare_exchange_strong(seen, kMaking, std::memory_order_acquire)) {
                try {
                    value_.emplace(std::forward<Make>(make)());
                } catch (...) {
                    finish(kUnmade);
                    throw;
                }
                finish(kMade);
                return *value_;
            }
            if (seen == kMade) return *value_;
            state_.wait(kMaking, std::memory_order_acquire);
        }
    }

    /// Gives the value before anyone asked for it; false (and nothing changes) when it has
    /// been made already or is being made.
    bool preset(T value) {
        int seen = kUnmade;
        if (!state_.compare_exchange_strong(seen, kMaking, std::memory_order_acquire)) return false;
        value_.emplace(std::move(value));
        finish(kMade);
        return true;
    }

  private:
    // Not std::call_once: glibc's once wakes waiters with a system call on every first use,
    // even when nobody waits, and a message makes thousands of these values. Waking here
    // costs a call only when another thread is waiting.
    enum : int { kUnmade, kMaking, kMade };
    void finish(int state) const {
        state_.store(state, std::memory_order_release);
        state_.notify_all();
    }
    mutable std::atomic<int> state_{kUnmade};
    mutable std::optional<T> value_;
};

}  // namespace qb
