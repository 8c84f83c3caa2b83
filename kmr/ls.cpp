// kmr ls: a quick list of recordings, from their headers and indexes alone.
#include "kmr/commands.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/store/recording_name.hpp"
#include "scan/quick_look.hpp"

#include <CLI/CLI.hpp>
#include <tuple>

namespace kmr::program {
namespace {

constexpr size_t start_width = 29;
constexpr size_t length_width = 13;
constexpr size_t size_width = 15;
constexpr size_t records_width = 9;
constexpr size_t tags_width = 6;

struct listed_file {
    std::string path;
    uint64_t size = 0;
    std::optional<char> type = {};
    std::optional<int64_t> start_ms = {};
    std::optional<int64_t> duration_ms = {};
    std::optional<uint64_t> records = {}; // none without an index
    std::optional<uint64_t> tags = {};
};

listed_file listed(const std::string& path, const scan::quick_look& found) {
    listed_file file = {.path = path,
                        .size = found.size,
                        .type = store::type_of(path),
                        .start_ms = found.start_ms,
                        .duration_ms = found.duration_ms};
    if (found.index.present) {
        file.records = found.index.records;
        file.tags = found.index.tags;
    }
    return file;
}

// Those without a start come last.
bool starts_before(const listed_file& one, const listed_file& other) {
    const auto key = [](const listed_file& of) {
        return std::make_tuple(!of.start_ms, of.start_ms.value_or(0), std::string_view(of.path));
    };
    return key(one) < key(other);
}

void append_json(std::string& to, const listed_file& file, output::clock& clock) {
    output::json_writer(to)
        .begin_object()
        .member("schema", "kmr.ls/1")
        .member("path", file.path)
        .member("name", store::last_part(file.path))
        .member("size", file.size)
        .member("type", file.type ? std::optional(std::string(1, *file.type)) : std::nullopt)
        .member("start", clock.iso(file.start_ms))
        .member("duration_ms", file.duration_ms)
        .member("records", file.records)
        .member("tags", file.tags)
        .end_object();
    to += '\n';
}

void append_count(std::string& to, const std::optional<uint64_t>& count, size_t width) {
    if (count)
        output::append_right_number(to, *count, width);
    else
        output::append_right(to, "-", width);
}

void append_row(std::string& to, const listed_file& file, output::clock& clock) {
    output::append_left(to, clock.iso(file.start_ms).value_or("-"), start_width);
    output::append_right(to, file.duration_ms ? output::stream_time(*file.duration_ms) : "-", length_width);
    output::append_right_number(to, file.size, size_width);
    append_count(to, file.records, records_width);
    append_count(to, file.tags, tags_width);
    (to += "   ") += file.type.value_or('-');
    output::append_text(to += "   ", file.path);
    to += '\n';
}

void append_heading(std::string& to) {
    output::append_left(to, "start", start_width);
    output::append_right(to, "length", length_width);
    output::append_right(to, "size", size_width);
    output::append_right(to, "records", records_width);
    output::append_right(to, "tags", tags_width);
    to += "  type path\n";
}

class ls final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("PATH", paths_, "Recordings, and folders for every recording below them")->required();
        to.add_flag("--json", json_, "One JSON object a recording and line (kmr.ls/1)");
    }

    exit_status work(session& with) override {
        std::vector<listed_file> found;
        auto status = exit_status::sound;
        for (const found_file& each : files_of(paths_))
            status = worse(status, look(each, with, found));
        std::sort(found.begin(), found.end(), starts_before);
        output::clock clock = with.clock();
        if (!json_ && !found.empty())
            append_heading(with.out.buffer());
        for (const listed_file& each : found) {
            json_ ? append_json(with.out.buffer(), each, clock) : append_row(with.out.buffer(), each, clock);
            with.out.keep_small();
        }
        return status;
    }

private:
    static exit_status look(const found_file& file, session& with, std::vector<listed_file>& into) {
        const auto fail = [&](const std::string& why) {
            with.err.say(file.path, why);
            return exit_status::failed;
        };
        if (file.error != 0)
            return fail(words_of(file.error));
        const scan::opened_file opened = scan::file_source::open(file.path.c_str());
        if (opened.status != scan::open_status::opened)
            return fail(problem_of(opened));
        const scan::quick_look found = scan::look_quickly(*opened.source);
        if (found.ended != scan::end_state::complete)
            return fail(found.error != 0 ? words_of(found.error) : "became shorter while it was read");
        if (found.header.state == scan::header_state::valid || found.index.present) {
            into.push_back(listed(file.path, found));
            return exit_status::sound;
        }
        if (file.in_folder)
            return exit_status::sound;
        with.err.say(file.path, "not a recording");
        return exit_status::found;
    }

    std::vector<std::string> paths_ = {};
    bool json_ = false;
};

} // namespace

const command_kind ls_command = {
    "ls",
    "Lists recordings by their start, quickly: headers and indexes alone are read",
    "  kmr ls /media/disk\n"
    "  kmr ls --json /media/disk | jq -r 'select(.duration_ms > 3600000) | .path'\n",
    make_command<ls>,
};

} // namespace kmr::program
