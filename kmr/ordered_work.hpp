// Work on many things by several threads at once, whose results are taken in order by the caller's own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace kmr::program {

// work(size_t) -> Result, on any thread. take(Result) and wait(), which is called every now and then while there is
// nothing to take, on the caller's. When one of them throws, `stop` is set for those that are still at work.
template <typename Result, typename Work, typename Take, typename Wait>
class ordered_work {
public:
    ordered_work(size_t count, std::atomic<bool>& stop, Work work, Take take, Wait wait)
        : count_(count), stop_(stop), work_(std::move(work)), take_(std::move(take)), wait_(std::move(wait)) {
    }
    ordered_work(const ordered_work&) = delete;
    ordered_work& operator=(const ordered_work&) = delete;
    ~ordered_work() { end(); }

    // Once.
    void run(size_t threads) {
        ahead_ = results_ahead * threads;
        start(threads);
        while (taken_ < count_)
            take_(next());
    }

private:
    // Threads may be ahead of the result that is taken next by so many for each of them: one long piece of work must
    // not hold up the others, and results that wait must not fill the memory.
    static constexpr size_t results_ahead = 128;

    void start(size_t threads) {
        for (size_t i = 0; i < threads && i < count_; ++i)
            try {
                workers_.emplace_back([this] { run_worker(); });
            } catch (const std::system_error&) { // the system gives no more; fewer will do
                if (workers_.empty())
                    throw;
                return;
            }
    }

    void end() {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        if (taken_ < count_)
            stop_ = true;
        room_.notify_all();
    }

    void run_worker() {
        for (;;) {
            std::unique_lock lock(mutex_);
            room_.wait(lock, [&] { return ended_ || begun_ == count_ || begun_ < taken_ + ahead_; });
            if (ended_ || begun_ == count_)
                return;
            const size_t mine = begun_++;
            results_.emplace_back();
            lock.unlock();
            finish(mine);
        }
    }

    void finish(size_t mine) {
        std::optional<Result> result;
        std::exception_ptr failure;
        try {
            result = work_(mine);
        } catch (...) {
            failure = std::current_exception();
        }
        const std::lock_guard lock(mutex_);
        if (failure)
            keep_first(failure, mine);
        else
            results_[mine - taken_] = std::move(result);
        ++ready_count_;
        // Waking somebody for every result would cost more than a small file does: he looks by himself now and then.
        const bool worth_it = ready_count_ - taken_ >= ahead_ / 2 || ready_count_ == count_;
        if (failure || worth_it)
            ready_.notify_one();
    }

    // What stands in front of it was begun, and will be there: only behind that it ends the work.
    void keep_first(const std::exception_ptr& failure, size_t which) {
        ended_ = true;
        if (!failure_ || which < failed_) {
            failure_ = failure;
            failed_ = which;
        }
    }

    bool has_failed() const { return failure_ && failed_ == taken_; }

    Result next() {
        constexpr auto patience = std::chrono::milliseconds(50);
        std::unique_lock lock(mutex_);
        while (!ready_.wait_for(lock, patience,
                                [&] { return has_failed() || (!results_.empty() && results_.front()); })) {
            lock.unlock();
            wait_();
            lock.lock();
        }
        if (has_failed())
            std::rethrow_exception(failure_);
        Result result = std::move(*results_.front());
        results_.pop_front();
        ++taken_;
        room_.notify_one();
        return result;
    }

    size_t count_;
    std::atomic<bool>& stop_;
    Work work_;
    Take take_;
    Wait wait_;
    size_t ahead_ = 0;

    std::mutex mutex_ = {};
    std::condition_variable ready_ = {};
    std::condition_variable room_ = {};
    std::deque<std::optional<Result>> results_ = {}; // the one that is taken next, and those behind it
    size_t begun_ = 0;
    size_t ready_count_ = 0;
    size_t taken_ = 0;
    bool ended_ = false;
    std::exception_ptr failure_ = {};
    size_t failed_ = 0;
    std::vector<std::jthread> workers_ = {}; // last: joined before anything else here goes
};

} // namespace kmr::program
