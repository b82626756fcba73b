// SPDX-License-Identifier: Apache-2.0
// Workers, the calling thread among them, take the next index under one lock; the calling
// thread delivers the lowest one not yet delivered as soon as it is done. Work runs at most a
// few indices ahead of delivery, so the output held for finished inputs stays small when one
// input is slow.
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
    bool stopped = false;

    auto mayStart = [&] { return next < count && !stopped && next < delivered + ahead; };
    // Works on the next index, with the lock held on entry and on return.
    auto workOnNext = [&](std::unique_lock<std::mutex>& lock) {
        if (stop()) {
            stopped = true;
            changed.notify_all();
            return;
        }
        const size_t i = next++;
        lock.unlock();
        work(i);
        lock.lock();
        done[i] = true;
        changed.notify_all();
    };
    auto worker = [&] {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return mayStart() || next >= count || stopped; });
            if (!mayStart()) break;
            workOnNext(lock);
        }
    };
    // The calling thread is one of the workers: a thread more than there are cores would
    // only take turns with them, and waking it for every finished input costs a switch.
    std::vector<std::thread> threads;
    threads.reserve(workers - 1);
    for (unsigned w = 1; w < workers; ++w)
        threads.emplace_back(worker);

    {
        std::unique_lock lock(mutex);
        while (delivered < count) {
            if (done[delivered]) {
                lock.unlock();
                deliver(delivered);
                lock.lock();
                ++delivered;
                changed.notify_all();
            } else if (mayStart()) {
                workOnNext(lock);
            } else if (delivered >= next && (stopped || next >= count)) {
                break;  // never started, and never will be
            } else {
                changed.wait(lock);
            }
        }
        stopped = true;
        changed.notify_all();
    }
    for (auto& t : threads)
        t.join();
}

}  // namespace qb::cli
