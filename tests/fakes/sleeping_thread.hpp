// A thread that sleeps within a module until it is woken: what others can do meanwhile does not depend on time.
#pragma once

#include "tests/fakes/restless_module.hpp"

#include <chrono>
#include <semaphore>
#include <thread>

namespace restless_module {

// One at a time.
class sleeping_thread {
public:
    // Runs `work` in a thread, and returns when that sleeps in its first call of that kind.
    template <typename Work>
    sleeping_thread(operation what, Work work) {
        sleeps_in = what;
        set_look(sleep_once);
        thread_ = std::thread([this, work] {
            sleeper = this;
            work();
        });
        asleep_.acquire();
    }
    ~sleeping_thread() { wake(); }
    sleeping_thread(const sleeping_thread&) = delete;
    sleeping_thread& operator=(const sleeping_thread&) = delete;

    // Lets it go on, and waits for its end. False when it had been kept waiting until it lost its patience: then somebody
    // has waited for it.
    bool wake() {
        if (thread_.joinable()) {
            may_wake_.release();
            thread_.join();
            set_look(nullptr);
        }
        return !lost_patience_;
    }

private:
    static void sleep_once(operation what) {
        if (sleeper == nullptr || what != sleeps_in)
            return;
        sleeping_thread* const me = sleeper;
        sleeper = nullptr;
        me->asleep_.release();
        me->lost_patience_ = !me->may_wake_.try_acquire_for(std::chrono::minutes(1));
    }

    static inline thread_local sleeping_thread* sleeper = nullptr;
    static inline operation sleeps_in = operation::other;

    std::binary_semaphore asleep_{0};
    std::binary_semaphore may_wake_{0};
    bool lost_patience_ = false;
    std::thread thread_;
};

} // namespace restless_module
