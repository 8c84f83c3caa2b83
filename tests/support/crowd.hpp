// Several threads that begin together, and how long tests of threads last.
#pragma once

#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

namespace crowd {

// Runs `work` (called with 0, 1, ...) in so many threads, which all start at once, and waits for them.
template <typename Work>
void run(int threads, Work work) {
    std::barrier start(threads);
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&start, &work, thread] {
            start.arrive_and_wait();
            work(thread);
        });
    for (std::thread& each : running)
        each.join();
}

// How often a test repeats what depends on the order of threads: KMR_THREAD_ROUNDS times as often as the ordinary tests do.
inline int rounds(int ordinary) {
    const char* const wanted = std::getenv("KMR_THREAD_ROUNDS");
    return wanted == nullptr ? ordinary : ordinary * std::atoi(wanted);
}

// Counts from several threads without putting these in any order, which would hide from ThreadSanitizer what the product
// lacks.
class tally {
public:
    // The new value.
    int64_t add(int64_t count = 1) { return value_.fetch_add(count, std::memory_order_relaxed) + count; }
    int64_t get() const { return value_.load(std::memory_order_relaxed); }
    void clear() { value_.store(0, std::memory_order_relaxed); }

private:
    std::atomic<int64_t> value_ = 0;
};

} // namespace crowd
