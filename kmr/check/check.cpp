// kmr check: judges recordings.
#include "kmr/check/check_output.hpp"
#include "kmr/check/kept_results.hpp"
#include "kmr/commands.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/ordered_work.hpp"
#include "kmr/output/progress.hpp"
#include "kmr/scan_follower.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

constexpr size_t most_jobs = 1024;

struct check_options {
    std::vector<std::string> paths = {};
    size_t jobs = 1;
    bool verbose = false;
    bool json = false;
    bool strict = false;
    bool all_findings = false;
    kept_results_options kept = {};
};

// Tells how far a file has been read, and ends a scan whose result nobody waits for.
class follower final : public scan_follower {
public:
    follower(std::atomic<uint64_t>& bytes, const std::atomic<bool>& stop) : bytes_(bytes), stop_(stop) {}

    bool reached(uint64_t offset) override {
        if (offset >= told_ + step)
            tell(offset);
        return !stop_.load(std::memory_order_relaxed);
    }
    void tell(uint64_t offset) {
        offset = std::max(offset, told_);
        bytes_.fetch_add(offset - told_, std::memory_order_relaxed);
        told_ = offset;
    }

private:
    static constexpr uint64_t step = 1 << 20;

    std::atomic<uint64_t>& bytes_;
    const std::atomic<bool>& stop_;
    uint64_t told_ = 0;
};

class check_run {
public:
    check_run(const check_options& options, session& with)
        : options_(options), with_(with), clock_(with.clock()), kept_(options.kept),
          files_(own_left_out(files_of(options.paths))),
          progress_(with.err, {files_.size(), with.err.on_terminal() ? bytes_of(files_) : 0}) {
        if (options_.all_findings)
            judging_.most_per_code = SIZE_MAX;
    }

    exit_status run() {
        const auto work = [this](size_t which) { return judge(files_[which]); };
        const auto take = [this](const judged_file& judged) { tell(judged); };
        const auto wait = [this] { be_patient(); };
        ordered_work<judged_file, decltype(work), decltype(take), decltype(wait)>(files_.size(), stop_, work,
                                                                                  take, wait)
            .run(options_.jobs);
        kept_.finish(options_.paths);
        sum_up();
        return status_;
    }

private:
    std::vector<found_file> own_left_out(std::vector<found_file> files) const {
        std::erase_if(files,
                      [this](const found_file& each) { return each.in_folder && kept_.is_own(each.path); });
        return files;
    }

    judged_file judge(const found_file& file) { // on any thread
        follower watching(bytes_done_, stop_);
        judged_file judged = kept_.judge(file, judging_, watching);
        watching.tell(judged.judged.size);
        return judged;
    }

    void tell(const judged_file& file) {
        ++files_done_;
        if (file.in_folder && !options_.strict && file.judged.judged == scan::verdict::not_a_recording) {
            ++totals_.skipped;
            return;
        }
        totals_.add(file.judged);
        status_ = worse(status_, status_of(file.judged));
        append_checked(with_.out.buffer(), file,
                       {.json = options_.json, .verbose = options_.verbose, .colored = with_.colored},
                       clock_);
        with_.out.keep_small();
        if (!file.problem.empty()) {
            with_.out.flush(); // so that the message stands behind the line where both go to one place
            with_.err.say(file.path, file.problem);
        }
    }

    void be_patient() {
        with_.out.flush();
        if (with_.err.on_terminal())
            progress_.show({files_done_, bytes_done_.load(std::memory_order_relaxed)});
    }

    void sum_up() {
        const bool one_named = files_.size() == 1 && !files_.front().in_folder;
        if (!options_.json && !one_named)
            append_totals(with_.out.buffer(), totals_);
    }

    const check_options& options_;
    session& with_;
    output::clock clock_;
    scan::judge_options judging_ = {};
    kept_results kept_;
    std::vector<found_file> files_;
    output::progress progress_;
    check_totals totals_ = {};
    exit_status status_ = exit_status::sound;
    uint64_t files_done_ = 0;
    std::atomic<uint64_t> bytes_done_ = 0;
    std::atomic<bool> stop_ = false;
};

class check final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("PATH", options_.paths, "Recordings, and folders for every recording below them")
            ->required();
        to.add_flag("-v,--verbose", options_.verbose, "A line for each finding");
        to.add_flag("--json", options_.json, "One JSON object a file and line (kmr.check/1)");
        to.add_flag("--all-findings", options_.all_findings, "List more than 100 findings of one code");
        to.add_flag("--strict", options_.strict, "What is no recording counts in folders too");
        to.add_option("-j,--jobs", options_.jobs, "So many files at once (1); the output is the same")
            ->option_text("N")
            ->transform(whole_number(1, most_jobs, "number of files"));
        CLI::Option* const database =
            to.add_option("--db", options_.kept.database,
                          "Keep the results in this database; what has not changed since is not read again")
                ->option_text("FILE")
                ->check(not_empty());
        to.add_flag("--recheck", options_.kept.read_all, "Read everything, changed or not")->needs(database);
        to.add_option("--host", options_.kept.host, "Name of this machine in the database (its own)")
            ->option_text("NAME")
            ->check(not_empty())
            ->needs(database);
    }

    exit_status work(session& with) override { return check_run(options_, with).run(); }

private:
    check_options options_ = {};
};

} // namespace

const command_kind check_command = {
    "check",
    "Judges recordings: sound, unfinished, damaged, and why",
    "  kmr check recording.kmr              is it sound?\n"
    "  kmr check -v recording.kmr           what is wrong, where, and at which time\n"
    "  kmr check -j 4 /media/disk           every recording below a folder, four at once\n"
    "  kmr check --db results.db /media/disk  every night: reads only what has changed\n"
    "  kmr check --json /media/disk | jq -r 'select(.frames.lost > 0) | .path'\n",
    make_command<check>,
};

} // namespace kmr::program
