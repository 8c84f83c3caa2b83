// kmr copy: a part of a recording as a recording of its own.
#include "mend/copy.hpp"
#include "kmr/commands.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/mend/copy_output.hpp"
#include "kmr/new_file/new_file.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/place_options.hpp"
#include "kmr/stream_place.hpp"
#include "kmr/told_source.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

// Why there is no copy; empty where there is one.
std::string words_for(const mend::copy_plan& plan) {
    using enum mend::copy_status;
    switch (plan.status) { // uncovered: every value has its case
    case ready:
        break;
    case unreadable: {
        const std::string why = problem_of(plan.before);
        return why.empty() ? "cannot be read" : why;
    }
    case no_header:
        return plan.before.judged == scan::verdict::not_a_recording
                   ? "not a recording"
                   : "its file header is damaged, and a copy would have the same (kmr repair mends it)";
    case empty:
        return "there is no frame in the span that could be shown";
    case too_long:
        return "the span is longer than 4 GiB, which an index cannot name; choose a shorter one";
    case too_damaged:
        return "damaged in more places than can be left out at once";
    case no_way:
        return "what would come out is no sound recording";
    }
    return {};
}

class copy final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", from_, "A recording")->required();
        to.add_option("OUT", names_.to, "The new recording")->required()->check(not_empty());
        places_.add(to);
        to.add_flag("--force", names_.replace, "Replace OUT where it is there already; never FILE");
    }

    exit_status work(session& with) override {
        std::optional<frame_place> from;
        std::optional<frame_place> to;
        if (!places_.read(with, from, to))
            return exit_status::failed;
        const scan::opened_file opened = scan::file_source::open(from_.c_str());
        if (opened.status != scan::open_status::opened)
            return with.refuse(from_, problem_of(opened));
        if (const std::string why = follow_link(from_, names_); !why.empty())
            return with.refuse(from_, why);
        mend::plain_disk disk;
        if (const std::string why = why_not_written(disk, names_); !why.empty())
            return with.refuse(names_.to, why);
        mend::span span;
        stream_places places(from_, *opened.source, with);
        if (!places.take(from, span.from) || !places.take(to, span.to))
            return exit_status::failed;
        return copy_span(disk, *opened.source, span, with);
    }

private:
    exit_status copy_span(mend::disk& disk, scan::byte_source& recording, const mend::span& span,
                          session& with) const {
        told_source source(recording, with.err);
        const mend::copy_plan plan = mend::plan_copy(source, span);
        source.be_quiet();
        if (const std::string why = words_for(plan); !why.empty())
            return with.refuse(from_, why);
        told_source content(*plan.content, with.err);
        const std::string why = write_whole_file(disk, names_, source, content);
        content.be_quiet();
        if (!why.empty())
            return with.refuse(names_.to, why);
        output::clock clock = with.clock();
        append_copied(with.out.buffer(), names_.to, plan, with.colored, clock);
        return exit_status::sound;
    }

    std::string from_ = {};
    new_file_names names_ = {};
    place_options places_ = {};
};

} // namespace

const command_kind copy_command = {
    "copy",
    "Copies a part of a recording into a recording of its own",
    "  kmr copy --from 0:10 --to 0:20 recording.kmr part.kmr             ten seconds, by stream time\n"
    "  kmr copy --from 2015-01-02T03:04:05 recording.kmr part.kmr        from a time of day on\n"
    "  kmr copy --from 1200 --to 1500 --force recording.kmr part.kmr     by frame numbers\n"
    "  kmr copy damaged.kmr whole.kmr                                    what is good of all of it\n",
    make_command<copy>,
    "Exit status: 0 copied; 2 everything else.",
};

} // namespace kmr::program
