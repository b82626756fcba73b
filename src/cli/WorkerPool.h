// SPDX-License-Identifier: Apache-2.0
// A few worker threads over a list of inputs, their results handed back in input order.
#pragma once

#include <cstddef>
#include <functional>

namespace qb::cli {

// The number of online processors: the default for -j.
unsigned onlineProcessors();

// Runs work(i) for every i below `count` on `workers` threads and calls deliver(i) on the
// calling thread for each in turn, 0 first, as soon as it and all before it are done. Once
// stop() is true no new index is started; indices never started are not delivered. With
// one worker everything runs on the calling thread. `work` must not throw.
void runInOrder(size_t count, unsigned workers, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver, const std::function<bool()>& stop);

}  // namespace qb::cli
