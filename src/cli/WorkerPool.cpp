// SPDX-License-Identifier: Apache-2.0
// Workers take the next index under one lock; the calling thread waits for the lowest one
// not yet delivered. Workers run at most a few indices ahead of delivery, so the output held
// for finished inputs stays small when one input is slow.
#include "cli/WorkerPool.h"

#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace qb::cli {

unsigned onlineProcessors() {
    const long n = ::sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<unsigned>(n) : 1;
}

void runInOrder(size_t count, unsigned workers, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver, const std::function<bool()>& stop) {
    if (workers <= 1 || count <= 1) {
        for (size_t i = 0; i < count && !stop(); ++i) {
            work(i);
            deliver(i);
        }
        return;
    }
    if (workers > count) workers = static_cast<unsigned>(count);
    const size_t ahead = size_t(workers) * 4;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<bool> done(count, false);
    size_t next = 0, delivered = 0;
    unsigned running = workers;
    bool stopped = false;

    auto worker = [&] {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock,
                         [&] { return next >= count || stopped || next < delivered + ahead; });
            if (next >= count || stopped || stop()) break;
            const size_t i = next++;
            lock.unlock();
            work(i);
            lock.lock();
            done[i] = true;
            changed.notify_all();
        }
        stopped = stopped || next < count;
        --running;
        changed.notify_all();
    };
    std::vector<std::thread> threads;
    threads.reserve(workers);
    for (unsigned w = 0; w < workers; ++w)
        threads.emplace_back(worker);

    {
        std::unique_lock lock(mutex);
        while (delivered < count) {
            // The next index is done, or it was never started and never will be.
            changed.wait(lock, [&] {
                return done[delivered] || (delivered >= next && (stopped || running == 0));
            });
            if (!done[delivered]) break;
            lock.unlock();
            deliver(delivered);
            lock.lock();
            ++delivered;
            changed.notify_all();
        }
    }
    for (auto& t : threads)
        t.join();
}

}  // namespace qb::cli
