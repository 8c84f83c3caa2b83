#include "tests/fakes/module_probe.hpp"

#include "tests/fakes/probed_call.hpp"

#include <algorithm>
#include <mutex>
#include <unistd.h>

namespace module_probe {
namespace {

enum class effect { fail, cut, stop };

struct plan {
    effect what;
    std::string operation;
    int remaining; // calls until it takes effect
    bool lasts;
    int64_t value;

    bool concerns(const std::string& called) const { return operation == "*" || operation == called; }
};

struct probe_state {
    std::mutex lock;
    std::vector<std::string> calls;
    std::vector<plan> plans;
};

// Never destroyed: a module may still be called while the process ends.
probe_state& state() {
    static auto* const shared = new probe_state;
    return *shared;
}

void add(plan planned) {
    const std::lock_guard guard(state().lock);
    state().plans.push_back(std::move(planned));
}

bool is_over(const plan& planned) {
    return planned.remaining <= 0 && !planned.lasts;
}

void apply(const plan& planned, verdict& verdict) {
    switch (planned.what) {
    case effect::fail:
        verdict.result = planned.value;
        break;
    case effect::cut:
        verdict.most_bytes = static_cast<uint32_t>(planned.value);
        break;
    case effect::stop:
        _exit(77);
    }
}

} // namespace

void reset() {
    const std::lock_guard guard(state().lock);
    state().calls.clear();
    state().plans.clear();
}

std::vector<std::string> calls() {
    const std::lock_guard guard(state().lock);
    return state().calls;
}

int count() {
    const std::lock_guard guard(state().lock);
    return static_cast<int>(state().calls.size());
}

void fail(const std::string& operation, int nth, int64_t result) {
    add({effect::fail, operation, nth, false, result});
}

void fail_from(const std::string& operation, int nth, int64_t result) {
    add({effect::fail, operation, nth, true, result});
}

void cut(const std::string& operation, int nth, uint32_t bytes) {
    add({effect::cut, operation, nth, false, bytes});
}

void stop_before(int nth) {
    add({effect::stop, "*", nth, false, 0});
}

verdict judge(const std::string& operation) {
    const std::lock_guard guard(state().lock);
    verdict found;
    for (plan& planned : state().plans) {
        if (!planned.concerns(operation))
            continue;
        planned.remaining = std::max(planned.remaining - 1, 0);
        if (planned.remaining == 0)
            apply(planned, found);
    }
    std::erase_if(state().plans, is_over);
    return found;
}

void record(const std::string& call) {
    const std::lock_guard guard(state().lock);
    state().calls.push_back(call);
}

} // namespace module_probe
