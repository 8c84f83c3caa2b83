// kmr repair: mends recordings in place, with a way back, or into a copy.
#include "kmr/commands.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/mend/changed_recording.hpp"
#include "kmr/mend/held_signals.hpp"
#include "kmr/mend/mend_words.hpp"
#include "kmr/mend/question.hpp"
#include "kmr/mend/repair_output.hpp"
#include "kmr/new_file/new_file.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/output/text.hpp"
#include "kmr/scan_follower.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>
#include <utility>

namespace kmr::program {
namespace {

struct repair_options {
    std::vector<std::string> paths = {};
    std::string output = {};
    bool dry_run = false;
    bool json = false;
    bool yes = false;
    bool like_recorder = false;
    bool no_undo = false;
    bool force = false;

    bool is_copy() const { return !output.empty(); }
    // A script that asks for numbers, and does not say yes, gets them and nothing else.
    bool only_tells() const { return dry_run || (json && !yes && !is_copy()); }
    bool changes_in_place() const { return !only_tells() && !is_copy(); }
};

class repair_run {
public:
    repair_run(const repair_options& options, session& with, mend::disk& on, std::string path)
        : options_(options), with_(with), disk_(on), path_(std::move(path)), clock_(with.clock()) {}

    exit_status run();

private:
    exit_status prepare();
    exit_status take_back_interrupted();
    mend::plan_status plan();
    void tell();
    exit_status mend_it();
    exit_status write_copy();
    int count_undo_bytes();
    exit_status say(const std::string& words, exit_status status = exit_status::failed);
    exit_status fail(const std::string& words);
    exit_status ask_first(const std::string& question);

    const repair_options& options_;
    session& with_;
    mend::disk& disk_;
    std::string path_;
    output::clock clock_;
    std::unique_ptr<mend::recording> recording_ = {};
    mend::changes planned_ = mend::changes();
    scan::report before_ = {};
    told_repair told_ = {};
};

exit_status repair_run::say(const std::string& words, exit_status status) {
    with_.out.flush(); // so that the message stands behind what it is about
    with_.err.say(path_, words);
    return status;
}

// A file of which nothing can be said has an object too.
exit_status repair_run::fail(const std::string& words) {
    if (options_.json)
        append_repair_json(with_.out.buffer(), {.path = path_});
    return say(words);
}

exit_status repair_run::ask_first(const std::string& question) {
    if (options_.yes)
        return exit_status::sound;
    with_.out.flush();
    switch (ask(path_ + ": " + question)) {
    case answer::yes:
        return exit_status::sound;
    case answer::no:
        return say("declined; nothing was written", exit_status::found);
    case answer::nobody:
        break;
    }
    return say("nobody to ask: --yes mends without asking; nothing was written");
}

exit_status repair_run::run() {
    auto opening = mend::recording::open(disk_, path_, options_.changes_in_place());
    if (!opening.result.is_done())
        return fail(words_of(opening.result));
    recording_ = std::move(opening.opened);
    if (const exit_status status = prepare(); status != exit_status::sound)
        return status;
    const mend::plan_status status = plan();
    if (options_.like_recorder && status == mend::plan_status::no_way)
        return fail("beyond 4 GiB the recorder's own repair cuts what it should keep");
    if (const std::string problem = words_of(status, before_); !problem.empty())
        return fail(problem);
    if (!options_.is_copy() && !options_.no_undo && told_.changes) {
        if (const int error = count_undo_bytes())
            return fail(words_of(error));
    }
    tell();
    if (options_.is_copy() && !options_.dry_run)
        return write_copy();
    if (!told_.changes)
        return exit_status::sound;
    return options_.only_tells() ? exit_status::found : mend_it();
}

// What stands beside the recording from before.
exit_status repair_run::prepare() {
    const mend::undo_situation found = recording_->look_for_undo();
    if (found == mend::undo_situation::interrupted)
        return take_back_interrupted();
    const std::string problem =
        problem_of(found, {.dry_run = !options_.changes_in_place(), .no_undo = options_.no_undo});
    return problem.empty() ? exit_status::sound : fail(problem);
}

exit_status repair_run::take_back_interrupted() {
    if (options_.only_tells()) {
        if (options_.json)
            append_repair_json(with_.out.buffer(), {.path = path_, .changes = true});
        return say("a change was interrupted, or is under way: kmr repair takes it back and plans anew, kmr "
                   "undo takes it back",
                   exit_status::found);
    }
    if (options_.is_copy())
        return fail(words_of({.status = mend::mend_status::interrupted, .error = 0}));
    if (const exit_status asked = ask_first("a change was interrupted. Take it back and plan anew?");
        asked != exit_status::sound)
        return asked;
    const held_signals until_done;
    const mend::outcome result = recording_->undo();
    if (!result.is_done())
        return fail(words_of(result));
    return say("an interrupted change was taken back", exit_status::sound);
}

mend::plan_status repair_run::plan() {
    scan::byte_source& source = recording_->source();
    file_progress watching(with_.err, source.size());
    followed_source followed(source, watching);
    if (options_.like_recorder) {
        mend::recorder_plan plan = mend::plan_like_recorder(followed);
        told_ = told_of(path_, plan);
        before_ = std::move(plan.before);
        planned_ = std::move(plan.planned);
        return plan.status;
    }
    mend::repair_plan plan = mend::plan_repair(followed);
    told_ = told_of(path_, plan);
    before_ = std::move(plan.before);
    planned_ = std::move(plan.planned);
    return plan.status;
}

int repair_run::count_undo_bytes() {
    const mend::undo_size own = mend::undo_size_of(recording_->source(), planned_);
    mend::file_facts older;
    const bool is_there = disk_.look(mend::undo_path_of(path_), older) == 0;
    told_.numbers->undo_bytes = own.bytes + (is_there ? older.size : 0);
    return own.error;
}

void repair_run::tell() {
    if (!options_.json) {
        append_repair_text(with_.out.buffer(), told_, clock_);
    } else {
        append_repair_json(with_.out.buffer(), told_);
        for (const std::string& each : told_.notes)
            say(each, exit_status::sound);
    }
    with_.out.flush(); // told before it is done
}

exit_status repair_run::mend_it() {
    if (const exit_status asked = ask_first("mend it?"); asked != exit_status::sound)
        return asked;
    mend::outcome result;
    {
        const held_signals until_whole;
        result = recording_->apply(planned_, !options_.no_undo);
    }
    if (result.status == mend::mend_status::interrupted && options_.no_undo)
        return say(words_without_way_back(result.error));
    if (!result.is_done())
        return say("not mended: " + words_of(result));
    if (!options_.json)
        with_.out.write(options_.no_undo ? "  mended\n" : "  mended; kmr undo takes it back\n");
    with_.out.flush();
    return exit_status::sound;
}

exit_status repair_run::write_copy() {
    mend::changed_source mended(recording_->source(), planned_);
    scan::byte_source& content =
        told_.changes ? static_cast<scan::byte_source&>(mended) : recording_->source();
    const new_file_names names = {.from = path_, .to = options_.output, .replace = options_.force};
    std::string problem = why_not_written(disk_, names);
    if (problem.empty())
        problem = write_whole_file(disk_, names, recording_->source(), content);
    if (!problem.empty()) {
        with_.err.say(options_.output, problem);
        return exit_status::failed;
    }
    if (!options_.json) {
        output::append_text(with_.out.buffer(), "  written to " + options_.output);
        with_.out.write("\n");
    }
    return exit_status::sound;
}

class repair final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", options_.paths, "Recordings")->required();
        to.add_flag("-n,--dry-run", options_.dry_run, "Only say what would be done; 1: something");
        to.add_flag("--json", options_.json,
                    "One JSON object a file and line (kmr.repair/1); without --yes or -o nothing is written");
        to.add_flag("-y,--yes", options_.yes,
                    "Mend without asking; an interrupted repair is taken back first");
        to.add_flag("--like-recorder", options_.like_recorder,
                    "As the recorder's own repair: cut in front of the first bad header, no tags");
        CLI::Option* const no_undo =
            to.add_flag("--no-undo", options_.no_undo, "Keep no way back, where there is no room for it");
        CLI::Option* const output = to.add_option("-o,--output", options_.output,
                                                  "Write a mended copy, and leave the recording alone")
                                        ->option_text("OUT")
                                        ->check(not_empty())
                                        ->excludes(no_undo);
        to.add_flag("--force", options_.force, "Replace OUT where there is one")->needs(output);
    }

    exit_status work(session& with) override {
        if (options_.is_copy() && options_.paths.size() > 1) {
            with.err.say("-o takes one recording at a time");
            return exit_status::failed;
        }
        mend::plain_disk disk;
        auto status = exit_status::sound;
        for (const std::string& path : options_.paths)
            status = worse(status, repair_run(options_, with, disk, path).run());
        return status;
    }

private:
    repair_options options_ = {};
};

} // namespace

const command_kind repair_command = {
    "repair",
    "Mends recordings: keeps every whole frame, and a way back",
    "  kmr repair --dry-run recording.kmr     what would be done, in numbers\n"
    "  kmr repair recording.kmr               says it, asks, and mends; kmr undo takes it back\n"
    "  kmr repair --yes *.kmr                 for a script\n"
    "  kmr repair -o mended.kmr hit.kmr       a mended copy; the recording stays as it is\n"
    "  kmr repair --json --dry-run *.kmr | jq -r 'select(.changes) | .path'\n",
    make_command<repair>,
    "Exit status: 0 mended, or nothing to do, 1 a dry run with something to do, or declined,\n"
    "2 anything else; of several files the highest.",
};

} // namespace kmr::program
