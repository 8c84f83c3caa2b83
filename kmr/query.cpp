// kmr query: which recordings of a disk start in an interval, by its index file.
#include "kmr/commands.hpp"
#include "kmr/iso_time.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"
#include "scan/quick_look.hpp"
#include "vfslist16a/record_query.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstring>

namespace kmr::program {
namespace {

constexpr size_t number_width = 5;

struct release_list {
    void operator()(adt_dlist* list) const { adt_dlist_destroy(list); }
};
using match_list = std::unique_ptr<adt_dlist, release_list>;

// The first whole second at or after a time, as near as an index file can name it: what starts at a time or later
// starts at that second or later, and what starts before the one starts before the other.
int32_t second_from(int64_t ms) {
    constexpr int64_t second = 1000;
    const int64_t rounded = ms >= 0 ? (ms + second - 1) / second : -(-ms / second);
    return static_cast<int32_t>(std::clamp<int64_t>(rounded, INT32_MIN, INT32_MAX));
}

template <size_t Size>
std::string_view text_in(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

void append_json(std::string& to, const rec_query_record& record, output::clock& clock) {
    output::json_writer(to)
        .begin_object()
        .member("schema", "kmr.query/1")
        .member("time", clock.iso(int64_t{record.start_time} * 1000))
        .member("channel", record.channel)
        .member("kind", record.kind)
        .member("name", text_in(record.file_name))
        .member("path", text_in(record.file_path))
        .end_object();
    to += '\n';
}

void append_row(std::string& to, const rec_query_record& record, output::clock& clock) {
    clock.append_iso(to, int64_t{record.start_time} * 1000);
    output::append_right_number(to += "  channel", record.channel, number_width);
    output::append_right_number(to += "  kind", record.kind, number_width);
    output::append_text(to += "  ", text_in(record.file_path));
    to += '\n';
}

class query final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("INDEX", index_, "The index file of a disk, Index.dat")->required();
        to.add_option("--from", from_, "Recordings that start at this time or later (ISO 8601)")
            ->option_text("TIME")
            ->check(not_empty());
        to.add_option("--to", to_, "... and before this one")->option_text("TIME")->check(not_empty());
        constexpr uint32_t highest = REC_QUERY_ANY - 1; // that one stands for all
        to.add_option("--channel", channel_, "Of this channel alone")
            ->option_text("N")
            ->transform(whole_number(0, highest));
        to.add_option("--kind", kind_, "Of this kind alone")
            ->option_text("N")
            ->transform(whole_number(0, highest));
        to.add_flag("--json", json_, "One JSON object a recording and line (kmr.query/1)");
    }

    exit_status work(session& with) override {
        // The question is as large as its 3000 results, which are not used: the list has them all.
        const auto asked = std::make_unique<rec_query_block>();
        asked->channel_filter = channel_;
        asked->kind_filter = kind_;
        asked->file_type_filter = REC_QUERY_VIDEOS;
        asked->start_time = INT32_MIN;
        asked->end_time = INT32_MAX;
        if (!read_time(from_, with, asked->start_time) || !read_time(to_, with, asked->end_time))
            return exit_status::failed;
        const std::optional<uint64_t> cut = look(with);
        if (!cut)
            return exit_status::failed;
        const match_list matches(adt_dlist_create(sizeof(rec_query_record)));
        if (matches == nullptr)
            throw std::bad_alloc();
        if (SearchIndexEx(index_.c_str(), asked.get(), matches.get()) != 0) {
            with.err.say(index_, words_of(errno));
            return exit_status::failed;
        }
        print(*matches, with);
        return *cut == 0 ? exit_status::sound : tell_of_cut(*cut, with);
    }

private:
    static bool read_time(const std::optional<std::string>& text, session& with, int32_t& into) {
        if (!text)
            return true;
        const auto time = parse_iso_time(*text, with.zone);
        if (time)
            into = second_from(*time);
        else
            with.err.say(*text, "not a time as 2015-01-02T03:04:05");
        return time.has_value();
    }

    // How many bytes of a record that is cut stand at the end; none, and a message, where this is no index file or cannot
    // be read: the search takes what it cannot read for the end of the file, and anything for an index file.
    std::optional<uint64_t> look(session& with) const {
        const scan::opened_file opened = scan::file_source::open(index_.c_str());
        const std::string why =
            opened.status == scan::open_status::opened ? why_refused(*opened.source) : problem_of(opened);
        if (!why.empty()) {
            with.err.say(index_, why);
            return {};
        }
        return (opened.source->size() - KMR_INDEX_FILE_HEADER_SIZE) % KMR_INDEX_FILE_RECORD_SIZE;
    }

    static std::string why_refused(scan::byte_source& source) {
        if (source.size() < KMR_INDEX_FILE_HEADER_SIZE)
            return "not an index file: it has no header";
        std::vector<uint8_t> piece(65536);
        for (uint64_t offset = 0; offset < source.size(); offset += piece.size()) {
            const scan::read_result read = source.read_at(offset, piece);
            if (read.failed())
                return words_of(read.error);
        }
        // The header of an index file says nothing; but neither does it look like that of a recording.
        const scan::quick_look found = scan::look_quickly(source);
        const bool recording = found.header.state == scan::header_state::valid || found.index.present;
        return recording ? "a recording, not an index file" : "";
    }

    exit_status tell_of_cut(uint64_t bytes, session& with) const {
        with.out.flush(); // so that the message stands behind the rows where both go to one place
        std::string text = "cut, or no index file: behind the last whole record ";
        output::append_number(text, bytes);
        with.err.say(index_, text += bytes == 1 ? " byte" : " bytes");
        return exit_status::found;
    }

    void print(const adt_dlist& matches, session& with) const {
        output::clock clock = with.clock();
        for (adt_dlist_node* node = adt_dlist_head(&matches); node != nullptr; node = adt_dlist_next(node)) {
            rec_query_record record;
            std::memcpy(&record, adt_dlist_getdata(node), sizeof record);
            json_ ? append_json(with.out.buffer(), record, clock)
                  : append_row(with.out.buffer(), record, clock);
            with.out.keep_small();
        }
    }

    std::string index_ = {};
    std::optional<std::string> from_ = {};
    std::optional<std::string> to_ = {};
    uint32_t channel_ = REC_QUERY_ANY;
    uint32_t kind_ = REC_QUERY_ANY;
    bool json_ = false;
};

} // namespace

const command_kind query_command = {
    "query",
    "Lists the recordings that an index file names, by time, channel and kind",
    "  kmr query Index.dat --from 2015-01-02 --to 2015-01-03\n"
    "  kmr query Index.dat --channel 3 --from 2015-01-02T22:00 --json\n",
    make_command<query>,
};

} // namespace kmr::program
