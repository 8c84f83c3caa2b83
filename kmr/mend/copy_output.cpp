#include "kmr/mend/copy_output.hpp"

#include "kmr/output/color.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"
#include "kmr/report_text.hpp"

#include <algorithm>

namespace kmr::program {
namespace {

using output::append_number;

class copied {
public:
    copied(std::string& to, const mend::copy_plan& plan, output::clock& clock)
        : to_(to), plan_(plan), clock_(clock) {}

    void append(std::string_view path, bool colored) {
        output::append_text(to_, path);
        to_ += '\n';
        append_verdict(colored);
        append_number(line("size"), plan_.after.size);
        to_ += " bytes\n";
        append_span();
        append_number(line("frames"), plan_.frames + plan_.inserted);
        append_number(to_ += " of ", plan_.before.frames.total);
        append_number(to_ += ", from the I-frame ", plan_.first_frame);
        output::append_stream_time(to_ += " at ", plan_.first_ms);
        to_ += " on\n";
        append_counted(line("index"), plan_.records, "record");
        append_counted(to_ += ", ", plan_.tags, "tag");
        to_ += '\n';
        append_left_out();
    }

private:
    std::string& line(std::string_view name) {
        constexpr size_t width = 14;
        output::append_left(to_ += "  ", name, width);
        return to_;
    }

    static void append_counted(std::string& to, uint64_t count, std::string_view what) {
        append_number(to, count);
        to.append(" ").append(what);
        if (count != 1)
            to += 's';
    }

    void append_verdict(bool colored) {
        const scan::report& after = plan_.after;
        output::append_colored(line("verdict"), scan::name_of(after.judged), color_of(after.judged), colored);
        if (std::any_of(after.found.begin(), after.found.end(), [](uint64_t count) { return count > 0; }))
            append_codes(to_ += ": ", after);
        to_ += '\n';
    }

    void append_span() {
        line("span");
        if (plan_.after.start_ms) { // uncovered: every copy has a record, which tells it
            to_ += clock_.iso_text(*plan_.after.start_ms);
            to_ += " to ";
            to_ += clock_.iso_text(*plan_.after.start_ms + plan_.duration_ms);
            to_ += plan_.times_guessed ? " (by the header), " : ", ";
        }
        output::append_stream_time(to_, plan_.duration_ms);
        to_ += '\n';
    }

    // First what the span holds, then what lies around it.
    void append_left_out() {
        line("left out");
        const size_t begun = to_.size();
        if (plan_.torn_bytes != 0) {
            append_counted(to_, plan_.torn_bytes, "damaged byte");
            if (plan_.damaged_frames != 0)
                append_counted(to_ += " with ", plan_.damaged_frames, "damaged frame");
            to_ += " in the span; ";
        }
        if (plan_.frames_without_start != 0) {
            append_counted(to_, plan_.frames_without_start, "frame");
            to_ += " in front of the first I-frame; ";
        }
        const uint64_t kept = plan_.frames + plan_.inserted + plan_.frames_without_start;
        if (const uint64_t all = plan_.before.frames.total; all > kept) {
            append_counted(to_, all - kept, "frame");
            to_ += " outside of the span; ";
        }
        if (to_.size() == begun)
            to_ += "nothing; ";
        to_.replace(to_.size() - 2, 2, "\n");
    }

    std::string& to_;
    const mend::copy_plan& plan_;
    output::clock& clock_;
};

} // namespace

void append_copied(std::string& to, std::string_view path, const mend::copy_plan& plan, bool colored,
                   output::clock& clock) {
    copied(to, plan, clock).append(path, colored);
}

} // namespace kmr::program
