// kmr frames: one record a frame.
#include "kmr/commands.hpp"
#include "kmr/frame_rows.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/place_options.hpp"
#include "kmr/scan_follower.hpp"
#include "kmr/start_time.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace kmr::program {
namespace {

template <typename Value>
struct named {
    std::string_view name;
    Value value;
};

constexpr named<frame_format> formats[] = {
    {"table", frame_format::table}, {"csv", frame_format::csv}, {"json", frame_format::json}};
constexpr named<frame_type> types[] = {{"", frame_type::any}, {"I", frame_type::i}, {"P", frame_type::p}};

// Of a name that the parser of options has let pass.
template <typename Value, size_t Count>
Value value_of(std::string_view name, const named<Value> (&all)[Count]) {
    return std::find_if(all, all + Count - 1, [&](const named<Value>& each) { return each.name == name; })
        ->value;
}

std::string in_capitals(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char each) {
        return each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
    });
    return name;
}

struct frames_options {
    std::string path = {};
    frame_format format = frame_format::table;
    frame_selection wanted = {};
    place_options places = {};
    bool user_data = false;
};

class row_printer final : public file_progress {
public:
    row_printer(const frames_options& options, session& with, std::optional<int64_t> start_ms, uint64_t bytes)
        : file_progress(with.err, bytes), options_(options), with_(with), start_ms_(start_ms),
          writer_(frame_writer::make(options.format, with.zone)) {}

    // Once, in front of the first row: what is no recording has none.
    void begin() {
        if (!begun_)
            writer_->append_heading(with_.out.buffer(), options_.user_data);
        begun_ = true;
    }

    void on_frame(const scan::seen_frame& seen) override {
        if (!seen.frame.header_whole || !options_.wanted.takes(seen, start_ms_))
            return;
        begin();
        if (options_.user_data)
            segments_ = segments_of(seen.frame.long_payload);
        writer_->append(with_.out.buffer(),
                        {.seen = seen,
                         .time_ms = start_ms_ ? std::optional(*start_ms_ + seen.stream_ms) : std::nullopt,
                         .user_data = options_.user_data ? &segments_ : nullptr});
        with_.out.keep_small();
    }

private:
    const frames_options& options_;
    session& with_;
    std::optional<int64_t> start_ms_;
    std::unique_ptr<frame_writer> writer_;
    std::vector<segment_text> segments_ = {};
    bool begun_ = false;
};

scan::report judge_and_tell(scan::byte_source& source, file_progress& watching) {
    followed_source followed(source, watching);
    return scan::judge(followed, {.most_per_code = 0}, &watching);
}

class frames final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", options_.path, "A recording")->required();
        to.add_option("--format", format_, "table, csv with a heading, or json: one object a line")
            ->option_text("table|csv|json")
            ->check(one_of({"table", "csv", "json"}));
        to.add_option("--type", type_, "I-frames or P-frames alone")
            ->option_text("I|P")
            ->check(one_of({"I", "P"}))
            ->transform(in_capitals);
        options_.places.add(to);
        to.add_flag("--gaps", options_.wanted.gaps, "Only frames before which numbers are missing");
        to.add_flag("--user-data", options_.user_data, "With the segments of the user data");
    }

    exit_status work(session& with) override {
        options_.format = value_of(format_, formats);
        options_.wanted.type = value_of(type_, types);
        if (!options_.places.read(with, options_.wanted.from, options_.wanted.to))
            return exit_status::failed;
        const scan::opened_file opened = scan::file_source::open(options_.path.c_str());
        if (opened.status != scan::open_status::opened) {
            with.err.say(options_.path, problem_of(opened));
            return exit_status::failed;
        }
        scan::byte_source& source = *opened.source;
        const std::optional<int64_t> start_ms = start_of(source, with);
        row_printer printing(options_, with, start_ms, source.size());
        const scan::report judged = judge_and_tell(source, printing);
        if (judged.judged != scan::verdict::not_a_recording)
            printing.begin();
        with.out.flush(); // so that messages stand behind the rows where both go to one place
        if (judged.start_ms && start_ms && *judged.start_ms != *start_ms)
            with.err.say(options_.path, "the times count from " + with.clock().iso(*start_ms) +
                                            "; by the whole recording it began at " +
                                            with.clock().iso(*judged.start_ms));
        const std::string problem = problem_of(judged);
        if (!problem.empty())
            with.err.say(options_.path, problem);
        else if (judged.judged == scan::verdict::not_a_recording)
            with.err.say(options_.path, "not a recording");
        return status_of(judged);
    }

private:
    frames_options options_ = {};
    std::string format_ = "table";
    std::string type_ = {};
};

} // namespace

const command_kind frames_command = {
    "frames",
    "Tabulates the frames of a recording",
    "  kmr frames recording.kmr                                  every frame\n"
    "  kmr frames --gaps recording.kmr                           where frames are missing\n"
    "  kmr frames --type I --user-data recording.kmr             I-frames and what was hidden in them\n"
    "  kmr frames --format csv --from 1:30 --to 2:00 recording.kmr >half_a_minute.csv\n"
    "  kmr frames --from 2015-01-02T03:04:05 recording.kmr       from a time of day on\n",
    make_command<frames>,
};

} // namespace kmr::program
