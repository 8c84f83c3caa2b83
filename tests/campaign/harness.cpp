#include "tests/campaign/harness.hpp"

#include "tests/support/scratch.hpp"

#include <algorithm>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace campaign {
namespace {

constexpr int status_passed = 0;
constexpr int status_failed = 1;
constexpr int status_stopped = 70;

constexpr unsigned longest_case = 60; // seconds
constexpr size_t cases_at_a_time = 256;
constexpr size_t most_workers = 64;
constexpr size_t most_figures = 32;
constexpr uint64_t most_findings_shown = 20;

// The part of the list that a worker has taken, and how far it is.
struct share {
    std::atomic<size_t> at;
    std::atomic<size_t> end;
};

struct shared_memory {
    std::atomic<size_t> next;
    std::atomic<size_t> done;
    std::atomic<uint64_t> figures[most_figures];
    share shares[most_workers];
};

shared_memory& shared() {
    static shared_memory* const memory = [] {
        void* const at =
            mmap(nullptr, sizeof(shared_memory), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (at == MAP_FAILED)
            std::abort();
        return new (at) shared_memory{};
    }();
    return *memory;
}

struct labelled_figure {
    const char* label;
    const std::atomic<uint64_t>* value;
};

std::vector<labelled_figure>& all_figures() {
    static std::vector<labelled_figure> all;
    return all;
}

struct request {
    std::optional<size_t> sample;
    std::optional<size_t> single;
    uint64_t seed = 1;
    size_t jobs = std::max(1U, std::thread::hardware_concurrency());
};

request parse(int argc, char** argv) {
    request from;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view option = argv[i];
        const size_t value = std::strtoul(argv[i + 1], nullptr, 10);
        if (option == "--sample")
            from.sample = value;
        else if (option == "--case")
            from.single = value;
        else if (option == "--seed")
            from.seed = value;
        else if (option == "--jobs")
            from.jobs = std::clamp<size_t>(value, 1, most_workers);
    }
    return from;
}

uint64_t mixed(uint64_t value) {
    value += 0x9E3779B97F4A7C15;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
}

// Which cases are run: all of them, or one out of each of so many equal parts of the list.
class selection {
public:
    selection(size_t all, const request& from) : all_(all), seed_(from.seed) {
        count_ = from.sample ? std::min(*from.sample, all) : all;
    }
    size_t size() const { return count_; }
    size_t operator[](size_t i) const {
        if (count_ == all_)
            return i;
        const auto from = static_cast<size_t>(uint64_t{i} * all_ / count_);
        const auto to = static_cast<size_t>((uint64_t{i} + 1) * all_ / count_);
        return from + static_cast<size_t>(mixed(seed_ * 0x100000001 + i) % (to - from));
    }

private:
    size_t all_;
    size_t count_;
    uint64_t seed_;
};

void throw_output_away() {
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    static char buffer[1 << 16];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}

bool take_share(share& own, size_t size) {
    if (own.at < own.end)
        return true;
    const size_t from = shared().next.fetch_add(cases_at_a_time);
    if (from >= size)
        return false;
    own.at = from;
    own.end = std::min(from + cases_at_a_time, size);
    return true;
}

[[noreturn]] void work(case_list& cases, const selection& chosen, share& own, const std::string& directory) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // no worker goes on when the campaign is broken off
    if (chdir(directory.c_str()) != 0)
        std::abort();
    throw_output_away();
    while (take_share(own, chosen.size())) {
        for (; own.at < own.end; ++own.at) {
            alarm(longest_case);
            cases.run(chosen[own.at]);
            ++shared().done;
        }
    }
    _exit(status_passed);
}

std::string outcome(int status) {
    if (WIFEXITED(status))
        return "failed";
    if (WTERMSIG(status) == SIGALRM)
        return "did not end within " + std::to_string(longest_case) + " s";
    return std::string("ended by ") + strsignal(WTERMSIG(status));
}

class crew {
public:
    crew(const char* program, case_list& cases, const selection& chosen, size_t jobs)
        : program_(program), cases_(cases), chosen_(chosen), workers_(jobs) {}

    void run() {
        for (size_t i = 0; i < workers_.size(); ++i)
            start(i);
        int status = 0;
        for (pid_t ended; (ended = wait(&status)) > 0;)
            for (size_t i = 0; i < workers_.size(); ++i)
                if (workers_[i].process == ended)
                    look_at(i, status);
    }
    uint64_t findings() const { return findings_; }
    uint64_t stopped() const { return stopped_; }

private:
    struct worker {
        pid_t process = -1;
        std::unique_ptr<scratch::folder> folder = std::make_unique<scratch::folder>();
    };

    void start(size_t i) {
        std::fflush(nullptr);
        workers_[i].process = fork();
        if (workers_[i].process == 0)
            work(cases_, chosen_, shared().shares[i], workers_[i].folder->path().string());
        if (workers_[i].process < 0)
            std::abort();
    }

    // A worker that ended by a case is followed by one that goes on behind that case.
    void look_at(size_t i, int status) {
        if (WIFEXITED(status) && WEXITSTATUS(status) == status_passed)
            return;
        share& own = shared().shares[i];
        if (WIFEXITED(status) && WEXITSTATUS(status) == status_stopped)
            ++stopped_;
        else
            report(chosen_[own.at], status);
        ++shared().done;
        ++own.at;
        start(i);
    }

    void report(size_t number, int status) {
        if (++findings_ > most_findings_shown)
            return;
        std::printf("%s: %s\n  again: %s --case %zu\n", cases_.describe(number).c_str(),
                    outcome(status).c_str(), program_, number);
    }

    const char* program_;
    case_list& cases_;
    const selection& chosen_;
    std::vector<worker> workers_;
    uint64_t findings_ = 0;
    uint64_t stopped_ = 0;
};

// Files of the workers stand in memory where the machine has such a place.
void prefer_memory() {
    if (getenv("TMPDIR") == nullptr && access("/dev/shm", W_OK | X_OK) == 0)
        setenv("TMPDIR", "/dev/shm", 1);
}

int run_one(case_list& cases, size_t number) {
    std::printf("%s\n", cases.describe(number).c_str());
    std::fflush(stdout);
    const scratch::folder folder;
    const scratch::working_directory inside(folder.path());
    cases.run(number);
    std::puts("passed");
    return status_passed;
}

} // namespace

int run(int argc, char** argv, case_list& cases) {
    prefer_memory();
    shared();
    const request from = parse(argc, argv);
    if (from.single)
        return run_one(cases, *from.single);
    const time_t start = time(nullptr);
    const selection chosen(cases.size(), from);
    crew workers(argv[0], cases, chosen, from.jobs);
    workers.run();
    std::printf("%zu of %zu cases, %" PRIu64 " failed, %" PRIu64 " cut short, %lld s\n", shared().done.load(),
                cases.size(), workers.findings(), workers.stopped(),
                static_cast<long long>(time(nullptr) - start));
    for (const labelled_figure& each : all_figures())
        if (each.value->load() != 0)
            std::printf("  %-56s %" PRIu64 "\n", each.label, each.value->load());
    return workers.findings() == 0 ? status_passed : status_failed;
}

void expect(bool holds, const char* what) {
    if (!holds)
        fail(what);
}

void fail(const std::string& what) {
    std::fprintf(stderr, "not so: %s\n", what.c_str());
    _exit(status_failed);
}

void stop_here() {
    _exit(status_stopped);
}

figure::figure(const char* label, kind what) : kind_(what) {
    const size_t index = all_figures().size();
    if (index == most_figures)
        std::abort();
    value_ = &shared().figures[index];
    all_figures().push_back({label, value_});
}

void figure::add(uint64_t value) {
    if (kind_ == kind::sum) {
        *value_ += value;
        return;
    }
    uint64_t before = value_->load();
    while (before < value && !value_->compare_exchange_weak(before, value)) {
    }
}

} // namespace campaign
