// kmr extract: what a recording holds, for players.
#include "convert/extract.hpp"
#include "convert/container.hpp"
#include "convert/elementary_stream.hpp"
#include "kmr/commands.hpp"
#include "kmr/extract/extract_words.hpp"
#include "kmr/extract/output_kinds.hpp"
#include "kmr/extract/stoppable_source.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/new_file/new_file.hpp"
#include "kmr/new_file/noted_signals.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/place_options.hpp"
#include "kmr/stream_place.hpp"
#include "kmr/told_source.hpp"
#include "mend/new_file.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <unistd.h>

namespace kmr::program {
namespace {

class draft_sink final : public convert::byte_sink {
public:
    explicit draft_sink(mend::draft& into) : into_(into) {}
    int write_at(uint64_t offset, std::span<const uint8_t> bytes) override {
        return noted_signals::any() ? EINTR : into_.write_at(offset, bytes);
    }

private:
    mend::draft& into_;
};

// Standard output, which ends the program by itself where it cannot be written.
class output_sink final : public convert::byte_sink {
public:
    explicit output_sink(output::standard_output& into) : into_(into) {}
    int write_at(uint64_t, std::span<const uint8_t> bytes) override {
        into_.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        return 0;
    }

private:
    output::standard_output& into_;
};

// A second that is named is part of the span, to its end. Numbers are those of the first frame that is not.
void include_second(std::optional<frame_place>& place) {
    constexpr int64_t second = 1000;
    if (!place || place->in == frame_place::unit::number)
        return;
    const int64_t into_it = (place->value % second + second) % second;
    place->value += second - into_it;
}

struct named_sound {
    std::string_view name;
    convert::sound_coding coding;
};

constexpr named_sound sounds[] = {{"alaw", convert::sound_coding::alaw},
                                  {"mulaw", convert::sound_coding::mulaw},
                                  {"s16le", convert::sound_coding::s16le},
                                  {"u8", convert::sound_coding::u8}};

class extract final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", path_, "A recording")->required();
        to.add_option("-o,--output", names_.to,
                      "By its suffix: video alone (.h264, .h265, .mjpeg), sound alone (.raw); - is standard "
                      "output, for video")
            ->required()
            ->option_text("OUT")
            ->check(not_empty());
        places_.add(to);
        to.add_option("--audio", sound_,
                      "With the sound, in .mp4 and .mkv: how it is coded, which no recording says")
            ->option_text("alaw|mulaw|s16le|u8")
            ->check(one_of({"alaw", "mulaw", "s16le", "u8"}));
        to.add_option(
              "--close-pauses", close_pauses_,
              "In .mp4 and .mkv: steps of the clock that are longer than this many seconds become as long as "
              "the one before")
            ->option_text("SECONDS")
            ->check(seconds_up_to(2147483));
        to.add_flag("--keep-damaged", options_.keep_damaged,
                    "Leave out nothing but encrypted frames, whether a player can make sense of it or not");
        to.add_flag("--strip-user-data", options_.strip_user_data,
                    "Without the recorder's own unit in front of each picture");
        to.add_flag("--force", names_.replace, "Replace OUT where it is there already; never FILE");
    }

    exit_status work(session& with) override {
        if (!find_form(with))
            return exit_status::failed;
        std::optional<frame_place> from;
        std::optional<frame_place> to;
        if (!places_.read(with, from, to))
            return exit_status::failed;
        include_second(to);
        const scan::opened_file opened = scan::file_source::open(path_.c_str());
        if (opened.status != scan::open_status::opened)
            return with.refuse(path_, problem_of(opened));
        mend::plain_disk disk;
        if (!to_output() && !may_write(disk, with))
            return exit_status::failed;
        stream_places places(path_, *opened.source, with);
        if (!places.take(from, options_.span.from) || !places.take(to, options_.span.to))
            return exit_status::failed;
        told_source source(*opened.source, with.err);
        return to_output() ? write_output(source, with) : write_file(disk, source, with);
    }

private:
    bool to_output() const { return names_.to == "-"; }

    bool may_write(mend::disk& disk, session& with) {
        if (const std::string why = follow_link(path_, names_); !why.empty()) {
            with.err.say(path_, why);
            return false;
        }
        const std::string why = why_not_written(disk, names_);
        return why.empty() || say_no(why, with);
    }

    bool find_form(session& with) {
        if (to_output() && isatty(STDOUT_FILENO) == 1) {
            with.err.say("standard output is a terminal, and a stream is nothing to read");
            return false;
        }
        kind_ = to_output() ? nullptr : output_kind_of(names_.to);
        if (kind_ == nullptr && !to_output())
            return say_no("nothing is made for such a suffix; there are " + output_suffixes(), with);
        const bool contained = kind_ != nullptr && kind_->form == output_form::container;
        if (contained && !convert::has_containers())
            return say_no("without libavformat this program makes no .mp4 and no .mkv; there are " +
                              output_suffixes(),
                          with);
        if (!contained && (!sound_.empty() || close_pauses_))
            return say_no("--audio and --close-pauses are for .mp4 and .mkv", with);
        return true;
    }

    bool say_no(const std::string& why, session& with) const {
        with.err.say(names_.to, why);
        return false;
    }

    convert::container_options container() const {
        convert::container_options of;
        of.format = kind_->suffix == ".mkv" ? convert::container_format::mkv : convert::container_format::mp4;
        if (!sound_.empty())
            of.sound = std::find_if(std::begin(sounds), std::end(sounds) - 1, [&](const named_sound& each) {
                           return each.name == sound_;
                       })->coding;
        if (close_pauses_)
            of.longest_step_ms = static_cast<int64_t>(std::llround(*close_pauses_ * 1000));
        return of;
    }

    std::unique_ptr<convert::stream_output> stream_into(convert::byte_sink& sink) const {
        using part = convert::elementary_stream::part;
        if (kind_ == nullptr)
            return std::make_unique<convert::elementary_stream>(sink, part::video);
        if (kind_->form == output_form::sound)
            return std::make_unique<convert::elementary_stream>(sink, part::audio);
        if (kind_->form == output_form::container)
            return convert::make_container(sink, container());
        return std::make_unique<convert::elementary_stream>(sink, part::video, kind_->coding);
    }

    // A stream that is to get a name, or is out already.
    exit_status tell(const convert::extracted& result, const told_source& source, session& with) const {
        if (const std::string left = words_for(result); !left.empty())
            with.err.say(path_, left);
        const bool has_grown = source.has_grown();
        if (has_grown)
            with.err.say(path_, "has grown while it was read; what came behind is left out");
        const bool lost = has_grown || result.left.seen_frames() != 0 || result.left.torn_bytes != 0;
        return lost ? exit_status::found : exit_status::sound;
    }

    exit_status write_output(told_source& source, session& with) const {
        output_sink sink(with.out);
        const auto stream = stream_into(sink);
        const convert::extracted result = convert::extract(source, options_, *stream);
        with.out.flush();
        source.be_quiet();
        const exit_status status = tell(result, source, with);
        if (result.status != convert::extract_status::done)
            return with.refuse(path_, why_no_stream(result) + way_out_of(result));
        if (result.judged.changed)
            return with.refuse(path_, "was changed while it was read");
        return status;
    }

    exit_status write_file(mend::disk& disk, told_source& source, session& with) const {
        mend::file_facts original;
        if (const int error = disk.look(names_.from, original)) // uncovered: it was there a moment ago
            return with.refuse(path_, words_of(error));         // uncovered: as above
        const noted_signals until_whole;
        mend::draft file(disk, names_.to, names_.replace, &original);
        if (const mend::outcome made = file.make(); !made.is_done())
            return with.refuse(names_.to, why_not_there(made));
        draft_sink sink(file);
        const auto stream = stream_into(sink);
        stoppable_source stoppable(source);
        const convert::extracted result = convert::extract(stoppable, options_, *stream);
        source.be_quiet();
        if (noted_signals::any())
            return exit_status::failed; // it ends by the signal
        const exit_status status = tell(result, source, with);
        if (result.end.why == convert::stop_reason::not_written)
            return with.refuse(names_.to, words_of(result.end.error));
        if (result.status != convert::extract_status::done)
            return with.refuse(path_, why_no_stream(result) + way_out_of(result));
        if (result.judged.changed)
            return with.refuse(names_.to, "the recording was changed meanwhile; nothing was written");
        if (const mend::outcome named = file.put_in_place(); !named.is_done())
            return with.refuse(names_.to, why_not_there(named));
        return status;
    }

    std::string path_ = {};
    new_file_names names_ = {};
    place_options places_ = {};
    convert::extract_options options_ = {};
    std::string sound_ = {};
    std::optional<double> close_pauses_ = {};
    const output_kind* kind_ = nullptr;
};

} // namespace

const command_kind extract_command = {
    "extract",
    "Takes video or sound out of a recording, for players",
    "  kmr extract recording.kmr -o video.mp4                          for any player\n"
    "  kmr extract recording.kmr -o video.mkv --audio alaw             with the sound\n"
    "  kmr extract recording.kmr -o video.h264                         the video, bit for bit\n"
    "  kmr extract recording.kmr -o - | ffplay -                       into a player\n"
    "  kmr extract --from 1:30 --to 2:00 recording.kmr -o part.mp4     from the I-frame at 1:30 or before\n"
    "  kmr extract recording.kmr -o sound.raw                          the sound alone\n",
    make_command<extract>,
    "Exit status: 0 written; 1 written, and something was left out; 2 nothing was written.",
};

} // namespace kmr::program
