// kmr report: everything about a recording on one page, for a browser.
#include "kmr/check/check_output.hpp"
#include "kmr/commands.hpp"
#include "kmr/frame_rows.hpp"
#include "kmr/new_file/new_file.hpp"
#include "kmr/new_file/noted_signals.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/page/page_text.hpp"
#include "kmr/report/page_file.hpp"
#include "kmr/report/page_video.hpp"
#include "kmr/scan_follower.hpp"
#include "kmr/show_output.hpp"
#include "mend/new_file.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

// The frames, as they come. So much user data makes no page that a browser could not open; the rest is counted.
class frames_block final : public file_progress {
public:
    frames_block(page_file& into, session& with, uint64_t bytes)
        : file_progress(with.err, bytes), into_(into),
          writer_(frame_writer::make(frame_format::json_columns, with.zone)) {
        begin_block(into_.buffer(), "frames");
        into_.buffer() += "{\"columns\":";
        writer_->append_heading(into_.buffer(), true);
        into_.buffer() += ",\"rows\":[";
    }

    void end() {
        into_.buffer() += "\n],\"user_data_left_out\":" + std::to_string(left_out_) + "}";
        end_block(into_.buffer());
    }

    void on_frame(const scan::seen_frame& seen) override {
        if (!seen.frame.header_whole)
            return;
        segments_ = segments_of(seen.frame.long_payload);
        leave_out_what_is_too_much();
        row_.clear();
        writer_->append(row_, {.seen = seen, .time_ms = {}, .user_data = &segments_});
        into_.buffer() += begun_ ? ",\n" : "\n";
        append_to_block(into_.buffer(), row_);
        into_.keep_small();
        begun_ = true;
    }

    bool reached(uint64_t offset) override { return into_.is_wanted() && file_progress::reached(offset); }

private:
    void leave_out_what_is_too_much() {
        constexpr size_t most = 4 << 20; // six bytes in the page each, at worst
        for (const segment_text& each : segments_)
            user_data_bytes_ += each.value.size();
        if (user_data_bytes_ <= most)
            return;
        left_out_ += segments_.size();
        segments_.clear();
    }

    page_file& into_;
    std::unique_ptr<frame_writer> writer_;
    std::vector<segment_text> segments_ = {};
    std::string row_ = {};
    size_t user_data_bytes_ = 0;
    uint64_t left_out_ = 0;
    bool begun_ = false;
};

using append_json_line = void (*)(std::string&, const judged_file&, output::clock&);

void append_block(std::string& to, std::string_view name, append_json_line append, const judged_file& file,
                  output::clock& clock) {
    std::string json;
    append(json, file, clock);
    begin_block(to, name);
    append_to_block(to, json);
    end_block(to);
}

constexpr uint64_t most_mib = 4096; // a recording is no larger

class report final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", path_, "A recording")->required();
        to.add_option("-o,--output", names_.to, "The page")
            ->option_text("PAGE.html")
            ->required()
            ->check(not_empty());
        to.add_flag("--video{64}", video_mib_,
                    "With the video, as .mp4 of at most so many MiB (64 where no number is given)")
            ->option_text("[=MIB]")
            ->transform(whole_number(1, most_mib, "number of MiB"));
        to.add_flag("--force", names_.replace, "Replace the page where it is there already; never FILE");
    }

    exit_status work(session& with) override {
        if (names_.to == "-")
            return with.refuse(names_.to, "a page is written to a file, not to standard output");
        const scan::opened_file opened = scan::file_source::open(path_.c_str());
        if (opened.status != scan::open_status::opened)
            return with.refuse(path_, problem_of(opened));
        if (const std::string why = follow_link(path_, names_); !why.empty())
            return with.refuse(path_, why);
        mend::plain_disk disk;
        if (const std::string why = why_not_written(disk, names_); !why.empty())
            return with.refuse(names_.to, why);
        return write_page(disk, *opened.source, with);
    }

private:
    exit_status write_page(mend::disk& disk, scan::byte_source& source, session& with) const {
        mend::file_facts original;
        if (const int error = disk.look(names_.from, original)) // uncovered: it was there a moment ago
            return with.refuse(path_, words_of(error));         // uncovered: as above
        const noted_signals until_whole;
        mend::draft draft(disk, names_.to, names_.replace, &original);
        if (const mend::outcome made = draft.make(); !made.is_done())
            return with.refuse(names_.to, why_not_there(made));
        page_file page(draft);
        page_video video;
        const judged_file file = fill(page, source, video, disk, with);
        if (noted_signals::any())
            return exit_status::failed; // it ends by the signal
        if (file.judged.judged == scan::verdict::unreadable && page.is_wanted())
            return with.refuse(path_, file.problem);
        const int unfinished = page.finish();
        if (const int error = unfinished != 0 ? unfinished : video.error)
            return with.refuse(names_.to, words_of(error));
        if (const mend::outcome named = draft.put_in_place(); !named.is_done())
            return with.refuse(names_.to, why_not_there(named));
        if (const int error = disk.sync_folder(names_.to))
            return with.refuse(names_.to, words_of(error));
        return tell(file, video, with);
    }

    judged_file fill(page_file& page, scan::byte_source& source, page_video& video, mend::disk& disk,
                     session& with) const {
        page.buffer() += page_head();
        frames_block frames(page, with, source.size());
        followed_source followed(source, frames);
        judged_file file{.path = path_, .judged = scan::judge(followed, {}, &frames)};
        file.problem = problem_of(file.judged);
        frames.end();
        output::clock clock = with.clock();
        append_block(page.buffer(), "check", append_checked_json, file, clock);
        append_block(page.buffer(), "show", append_shown_json, file, clock);
        if (!video_mib_.empty() && page.is_wanted() && file.judged.judged != scan::verdict::unreadable)
            video = append_video(page, disk, names_.to, std::stoull(video_mib_), source, with.err);
        page.buffer() += page_tail();
        return file;
    }

    exit_status tell(const judged_file& file, const page_video& video, session& with) const {
        const exit_status judged = status_of(file.judged);
        const bool is_all_there = page_has_time_line() && video.why_not.empty() && video.is_whole;
        if (!file.problem.empty())
            with.err.say(file.path, file.problem);
        if (!video.why_not.empty())
            with.err.say(file.path, "no video in the page: " + video.why_not);
        if (!video.left_out.empty())
            with.err.say(file.path, "the video in the page: " + video.left_out);
        if (!page_has_time_line())
            with.err.say(names_.to, "without a time line: this program was built without Dygraphs");
        return is_all_there ? judged : worse(exit_status::found, judged);
    }

    std::string path_ = {};
    new_file_names names_ = {};
    std::string video_mib_ = {}; // empty: no video
};

} // namespace

const command_kind report_command = {
    "report",
    "Makes a page about a recording, for any browser",
    "  kmr report recording.kmr -o recording.html              verdict, time line, frames, findings\n"
    "  kmr report --utc --force recording.kmr -o page.html     anew, with times in UTC\n"
    "  kmr report --video recording.kmr -o recording.html      with the video, where it takes at most 64 "
    "MiB\n"
    "  kmr report --video=200 recording.kmr -o recording.html  the same with at most 200 MiB\n",
    make_command<report>,
    "Exit status: 0 sound; 1 something was found, the page has no time line, or the video is not there\n"
    "or not whole; 2 wrong usage, not readable or not written.",
};

} // namespace kmr::program
