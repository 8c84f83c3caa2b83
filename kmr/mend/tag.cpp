// kmr tag: lists the tags of a recording, sets and removes them.
#include "kmr/commands.hpp"
#include "kmr/frame_selection.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/mend/changed_recording.hpp"
#include "kmr/mend/tag_output.hpp"
#include "mend/plain_disk.hpp"
#include "mend/tags.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <functional>

namespace kmr::program {
namespace {

constexpr int64_t ms_a_second = 1000;

int64_t whole_seconds(int64_t ms) {
    return ms >= 0 ? ms / ms_a_second : -((-ms + ms_a_second - 1) / ms_a_second);
}

// Why a tag is not to be had or set, empty where it is; `record` is what was asked for.
std::string words_for(mend::tag_status status, int error, const std::string& record) {
    using enum mend::tag_status;
    switch (status) { // uncovered: every value has its case
    case ready:
        break;
    case unreadable:
        return words_of(error);
    case no_index:
        return "there is no whole index for tags to stand in (kmr repair makes one)";
    case no_record:
        return record.empty() ? "the index has no records" : "there is no record " + record;
    case no_tag:
        return "record " + record + " has no tag";
    case too_many:
        return "64 tags are there already";
    case empty_text:
        return "the text of a tag cannot be empty (kmr tag remove takes one away)";
    case text_too_long:
        return "the text is longer than the 63 bytes of a tag";
    case text_no_utf8:
        return "the text is not UTF-8";
    case text_with_control_characters:
        return "the text holds control characters";
    }
    return {};
}

std::optional<uint32_t> parse_record(const std::string& text) {
    uint32_t record = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, record);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(record) : std::nullopt;
}

// What is to be done with the tags of a recording: the words of the command line, taken apart.
struct tag_task {
    std::string path = {};
    std::string text = {};
    std::string record = {}; // as it was given, where it was
    std::function<mend::tag_plan(scan::byte_source&)> plan = {};
};

class tag final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option(
              word_name, words_,
              "FILE: lists its tags. add FILE TIME TEXT, change FILE N TEXT, remove FILE N: N is the number "
              "of a "
              "record, as the list shows it; TIME is one too, or a stream time (M:SS.mmm, H:MM:SS.mmm), or "
              "a time (ISO 8601), and means the last record at or before it")
            ->required();
        add_change_options(to, how_);
        to.add_flag("--json", json_, "The list as one JSON object (kmr.tags/1)");
    }

    exit_status work(session& with) override {
        if (words_.size() == 1)
            return list(words_.front(), with);
        const std::optional<tag_task> task = task_of(with);
        return task ? change(*task, with) : exit_status::failed;
    }

private:
    exit_status list(const std::string& path, session& with) const {
        const scan::opened_file opened = scan::file_source::open(path.c_str());
        if (opened.status != scan::open_status::opened) {
            with.err.say(path, problem_of(opened));
            return exit_status::failed;
        }
        output::clock clock = with.clock();
        const auto writer = tag_writer::make(json_, path, with.out, clock);
        const mend::tag_list listed =
            mend::list_tags(*opened.source, [&](const scan::tag& each) { writer->append(each); });
        writer->finish(listed);
        const std::string why = words_for(listed.status, listed.error, {});
        if (why.empty())
            return exit_status::sound;
        with.out.flush();
        with.err.say(path, why);
        return exit_status::failed;
    }

    std::optional<tag_task> task_of(session& with) const {
        struct form {
            std::string_view name;
            size_t words;
            bool (tag::*read)(tag_task& into, session& with) const;
        };
        static constexpr form forms[] = {{"add", 4, &tag::read_addition},
                                         {"change", 4, &tag::read_change},
                                         {"remove", 3, &tag::read_removal}};
        const auto* const found = std::find_if(std::begin(forms), std::end(forms),
                                               [&](const form& each) { return each.name == words_[0]; });
        if (found == std::end(forms) || found->words != words_.size()) {
            with.err.say(found == std::end(forms) ? words_[0] : "tag " + words_[0],
                         found == std::end(forms) ? "neither add, change nor remove"
                                                  : "too many words, or too few");
            with.err.say("see kmr tag --help");
            return {};
        }
        if (json_) {
            with.err.say("--json is for the list alone");
            return {};
        }
        tag_task task = {.path = words_[1]};
        return (this->*found->read)(task, with) ? std::optional(std::move(task)) : std::nullopt;
    }

    bool read_addition(tag_task& into, session& with) const {
        const auto place = frame_place::parse(words_[2], with.zone);
        if (!place) {
            with.err.say(words_[2],
                         "neither a record number nor a stream time (M:SS.mmm) nor a time (ISO 8601)");
            return false;
        }
        mend::tag_place where = mend::stream_time{place->value};
        if (place->in == frame_place::unit::wall_time)
            where = mend::wall_clock{whole_seconds(place->value)};
        if (place->in == frame_place::unit::number) {
            into.record = words_[2];
            where = mend::record_number{
                static_cast<uint32_t>(std::min<int64_t>(place->value, UINT32_MAX))}; // which none has
        }
        into.text = words_[3];
        into.plan = [where, text = into.text](scan::byte_source& source) {
            return mend::plan_tag(source, where, text);
        };
        return true;
    }

    std::optional<mend::record_number> read_record(tag_task& into, session& with) const {
        const auto record = parse_record(words_[2]);
        into.record = words_[2];
        if (record)
            return mend::record_number{*record};
        with.err.say(words_[2], "not the number of a record");
        return {};
    }

    bool read_change(tag_task& into, session& with) const {
        const auto where = read_record(into, with);
        into.text = words_[3];
        into.plan = [where, text = into.text](scan::byte_source& source) {
            return mend::plan_tag_change(source, where.value_or(mend::record_number()), text);
        };
        return where.has_value();
    }

    bool read_removal(tag_task& into, session& with) const {
        const auto where = read_record(into, with);
        into.plan = [where](scan::byte_source& source) {
            return mend::plan_tag_removal(source, where.value_or(mend::record_number()));
        };
        return where.has_value();
    }

    exit_status change(const tag_task& task, session& with) const {
        const auto refuse = [&](const std::string& why) {
            with.err.say(task.path, why);
            return exit_status::failed;
        };
        mend::plain_disk disk;
        const recording_opening opening = open_recording(disk, task.path, how_);
        if (!opening.opened)
            return refuse(opening.problem);
        const mend::tag_plan plan = task.plan(opening.opened->source());
        if (const std::string why = words_for(plan.status, plan.error, task.record); !why.empty())
            return refuse(why);
        if (!how_.dry_run)
            if (const std::string why = apply(*opening.opened, plan.planned, how_); !why.empty())
                return refuse(why);
        output::clock clock = with.clock();
        append_tag_change(with.out.buffer(), plan, task.text, how_.dry_run, clock);
        const bool left_to_do = how_.dry_run && !plan.planned.empty();
        return left_to_do ? exit_status::found : exit_status::sound;
    }

    std::vector<std::string> words_ = {};
    change_options how_ = {};
    bool json_ = false;
};

} // namespace

const command_kind tag_command = {
    "tag",
    "Lists the tags of a recording, adds, changes and removes them",
    "  kmr tag recording.kmr                                       the tags, by index record\n"
    "  kmr tag --json recording.kmr | jq -r '.tags[].text'\n"
    "  kmr tag add recording.kmr 2015-01-02T03:04:05 'Door open'   at a time of day\n"
    "  kmr tag add recording.kmr 0:01:30 'Door open'               at a stream time\n"
    "  kmr tag change recording.kmr 2 'Door shut'                  the tag of record 2\n"
    "  kmr tag remove --dry-run recording.kmr 2                    what would be done\n",
    make_command<tag>,
    statuses_of_changing,
};

} // namespace kmr::program
