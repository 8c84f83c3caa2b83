// Every call of a module fails, one after the other, in every way, once and for good; and the modules themselves are
// missing.
#include "libvfs/vfs.h"
#include "tests/campaign/counted_memory.hpp"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/operations.hpp"
#include "tests/campaign/services.hpp"

#include <cstdio>
#include <string>

namespace {

using memory_module::fault;

struct way {
    const char* name;
    fault how;
    bool lasts;
};

constexpr way ways[] = {
    {"negative", fault::negative, false}, {"negative from then on", fault::negative, true},
    {"zero", fault::zero, false},         {"zero from then on", fault::zero, true},
    {"short", fault::shortened, false},   {"short from then on", fault::shortened, true},
};

struct loading {
    const char* name;
    bool module_0;
    bool module_1;
};

constexpr loading loadings[] = {
    {"both modules", true, true},
    {"no module 1", true, false},
    {"no module 0", false, true},
    {"no module", false, false},
};

campaign::figure failures("runs in which a call failed");

// A case is one operation with one way to fail and one set of modules, at every call in turn.
class call_cases : public campaign::case_list {
public:
    size_t size() const override { return operations::all().size() * std::size(ways) * std::size(loadings); }

    std::string describe(size_t number) const override {
        const chosen at = find(number);
        return std::string(at.operation.name) + ", " + at.how.name + ", " + at.loaded.name;
    }

    void run(size_t number) override {
        const chosen at = find(number);
        for (int nth = 1; run_failing(at, nth); ++nth) {
        }
    }

private:
    struct chosen {
        const operations::operation& operation;
        const way& how;
        const loading& loaded;
    };

    static chosen find(size_t number) {
        const way& how = ways[number % std::size(ways)];
        number /= std::size(ways);
        return {operations::all()[number / std::size(loadings)], how, loadings[number % std::size(loadings)]};
    }

    // Whether there was an nth call.
    static bool run_failing(const chosen& at, int nth) {
        memory_module::reset();
        memory_module::set_loadable(at.loaded.module_0, at.loaded.module_1);
        vfs_Init();
        operations::put_files();
        std::remove("EndFrame");
        memory_module::limit(1'000'000, [] { campaign::fail("the operation ends"); });
        memory_module::fail(nth, at.how.how, at.how.lasts);
        const int64_t result = at.operation.run();
        const bool failed = memory_module::has_failed();
        const bool reached = memory_module::counted().calls >= static_cast<size_t>(nth);
        memory_module::heal();

        const std::string where =
            " (call " + std::to_string(nth) + ", result " + std::to_string(result) + ")";
        if (!at.operation.is_documented(result))
            campaign::fail("the result is a documented one" + where);
        operations::expect_files(at.operation);
        services::expect_nothing_left();
        services::close_leftovers();
        campaign::expect(memory_module::open_files() == 0, "what a refused Close left open can be closed");
        failures.add(failed);
        return reached;
    }
};

} // namespace

int main(int argc, char** argv) {
    call_cases cases;
    return campaign::run(argc, argv, cases);
}
