// Every request for memory is refused, one after the other, once and for good: the viewer and the library request by
// request, and the programs as a whole, with what the C and C++ libraries ask for on their own.
#include "libvfs/vfs.h"
#include "tests/campaign/counted_memory.hpp"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/operations.hpp"
#include "tests/campaign/recordings.hpp"
#include "tests/campaign/services.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"
#include "vfslist16a/record_query.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using campaign::expect;
using recording::bytes;

campaign::figure refusals("runs in which memory was refused");

// --- the library, in this process ---

// Whether there was an nth request.
bool run_refused(const operations::operation& operation, int nth, bool lasts) {
    memory_module::reset();
    memory_module::set_loadable(true, true);
    vfs_Init();
    operations::put_files();
    counted_memory::refuse(nth, lasts);
    const int64_t result = operation.run();
    const bool refused = counted_memory::has_refused();
    counted_memory::refuse_nothing();
    expect(operation.is_documented(result), "the result is a documented one");
    operations::expect_files(operation);
    services::expect_nothing_left();
    refusals.add(refused);
    return refused;
}

void write_index_file() {
    std::FILE* const file = fopen64("Index.dat", "w");
    const bytes& content = recordings::index_file();
    expect(file != nullptr && std::fwrite(content.data(), 1, content.size(), file) == content.size() &&
               std::fclose(file) == 0,
           "the index file can be written");
}

// The list of matches stays until the next query, so what is kept is that list.
bool query_refused(int nth, bool lasts) {
    write_index_file();
    counted_memory::refuse(nth, lasts);
    zn_cmd_Store_QueryForTool("0", "1000");
    const bool refused = counted_memory::has_refused();
    counted_memory::refuse_nothing();
    static rec_query_block emptied;
    emptied = {};
    REC_QueryFiles(&emptied); // no interval, so an empty list in place of the one before
    expect(counted_memory::blocks_in_use() == 1, "no memory is kept but that of the list");
    refusals.add(refused);
    return refused;
}

// --- the programs ---

struct program_run {
    const char* name;
    const char* program;
    std::vector<std::string> words;
    bool composes;
};

const std::vector<program_run>& program_runs() {
    static const std::vector<program_run> all = {
        {"kmr_viewer, report", KMR_VIEWER, {"-f", "r.kmr", "-autm"}, false},
        {"kmr_viewer, export", KMR_VIEWER, {"-f", "r.kmr", "-ocopy.kmr"}, false},
        {"kmr_viewer, query", KMR_VIEWER, {"-q", "100,200"}, false},
        {"kmr_viewer, help", KMR_VIEWER, {"-h"}, false},
        {"kmr_make, recording",
         KMR_MAKE,
         {"--output", "made.kmr", "--frames", "6", "--user-data", "all", "--segment", "osd=TEXT", "--tag",
          "0=T", "--audio", "1x8", "--insert-after", "2", "--noise", "frame1+40:20:5"},
         true},
        {"kmr_make, index file",
         KMR_MAKE,
         {"--index-dat", "made.dat", "--made-up-records", "5:100:10"},
         true},
        {"kmr_make, wrong words", KMR_MAKE, {"--output", "made.kmr", "--frames", "none"}, true},
    };
    return all;
}

void prepare_place() {
    namespace fs = std::filesystem;
    if (fs::exists("lib"))
        return;
    fs::create_directory_symlink(KMR_MODULES, "lib");
    std::FILE* const file = fopen64("r.kmr", "w");
    const bytes& content = recordings::of("tags");
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
    write_index_file();
}

// A program that composes says that it failed and leaves nothing, or has written all; the viewer always ends well.
void expect_ended_well(const program_run& of, const run::result& result, const bytes& undisturbed,
                       const char* made) {
    if (!of.composes) {
        expect(result.status == 0, "the viewer ends with status 0");
        expect(scratch::read_file("r.kmr") == recordings::of("tags"), "the recording is as it was");
        return;
    }
    expect(result.status >= 0 && result.status <= 2, "the composer ends with a documented status");
    const bool there = std::filesystem::exists(made);
    expect(there == (result.status == 0), "it writes a file or says that it does not");
    expect(!there || scratch::read_file(made) == undisturbed, "what it writes is whole");
    expect(!std::filesystem::exists(std::string(made) + ".partial"), "it leaves nothing behind");
}

void run_program_refused(const program_run& of, bool lasts) {
    prepare_place();
    const char* const made = of.words[0] == "--index-dat" ? "made.dat" : "made.kmr";
    bytes undisturbed;
    for (int nth = 0;; ++nth) {
        std::filesystem::remove(made);
        std::filesystem::remove("copy.kmr");
        std::filesystem::remove("refused");
        const std::string plan = std::to_string(nth) + (lasts ? "+" : "");
        const run::result result = run::program(
            of.program, of.words, {.environment = {"LD_PRELOAD=" KMR_REFUSE_MEMORY, "REFUSE=" + plan}});
        if (nth == 0 && std::filesystem::exists(made))
            undisturbed = scratch::read_file(made);
        expect_ended_well(of, result, undisturbed, made);
        const bool refused = std::filesystem::exists("refused");
        refusals.add(refused);
        if (nth > 0 && !refused)
            return;
    }
}

class memory_cases : public campaign::case_list {
public:
    size_t size() const override { return 2 * (operations::all().size() + 1 + programs()); }

    std::string describe(size_t number) const override {
        const std::string lasts = number % 2 == 1 ? ", from then on" : ", once";
        number /= 2;
        if (number < operations::all().size())
            return operations::all()[number].name + lasts;
        number -= operations::all().size();
        return (number == 0 ? "query" : program_runs()[number - 1].name) + lasts;
    }

    void run(size_t number) override {
        const bool lasts = number % 2 == 1;
        number /= 2;
        if (number < operations::all().size()) {
            for (int nth = 1; run_refused(operations::all()[number], nth, lasts); ++nth) {
            }
        } else if (number == operations::all().size()) {
            for (int nth = 1; query_refused(nth, lasts); ++nth) {
            }
        } else {
            run_program_refused(program_runs()[number - operations::all().size() - 1], lasts);
        }
    }

private:
    // A sanitizer has the whole of a program's memory to itself.
    static size_t programs() { return KMR_REFUSES_PROGRAMS ? program_runs().size() : 0; }
};

} // namespace

int main(int argc, char** argv) {
    memory_cases cases;
    return campaign::run(argc, argv, cases);
}
