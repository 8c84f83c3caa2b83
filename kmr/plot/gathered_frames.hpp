// What a picture shows of the frames, gathered while a recording is judged. Memory does not grow with the recording.
#pragma once

#include "kmr/plot/time_line_bins.hpp"
#include "kmr/scan_follower.hpp"

#include <optional>
#include <vector>

namespace kmr::plot {

// In front of the frame at this offset there is less than there should be, or the time is not what it should be.
struct time_break {
    uint64_t frame_offset = 0;
    int64_t from_ms = 0; // of the frame before
    int64_t to_ms = 0;   // of this one
};

struct gathered_frames {
    static constexpr size_t most_breaks = 8192;
    static constexpr size_t most_i_frames = 2048;

    time_line_bins bins = {};
    std::vector<time_break> breaks = {};   // by offset; the first ones, where there are too many
    std::vector<int64_t> i_frames_ms = {}; // likewise
    uint64_t frames = 0;                   // ordinary ones
    uint64_t i_frames = 0;
    int64_t first_ms = 0; // the earliest and the latest
    int64_t last_ms = 0;
    int64_t usual_step_ms = 40;

    // The last frame lasts as long as a frame does.
    int64_t end_ms() const { return last_ms + usual_step_ms; }

    // Null: none is known.
    const time_break* break_at(uint64_t frame_offset) const;
};

// One stamp alone that is out of line does not stretch the time line: its frame stands with the one before. So each
// frame waits for the next one; `finish` takes the last.
class frame_gatherer final : public program::file_progress {
public:
    using file_progress::file_progress;

    void on_frame(const scan::seen_frame& seen) override;
    void on_torn(const scan::torn_event&) override { behind_torn_ = true; }

    gathered_frames finish();

private:
    struct waiting_frame {
        uint64_t offset = 0;
        uint64_t bytes = 0;
        int64_t at_ms = 0;
        bool is_i = false;
        bool is_break = false;
    };

    struct step_sum {
        int64_t count = 0;
        int64_t ms = 0;
        void add(int64_t step_ms) {
            ++count;
            ms += step_ms;
        }
    };

    bool is_out_of_line(const waiting_frame& frame, int64_t next_ms) const;
    void place(const waiting_frame& frame, bool out_of_line);

    gathered_frames found_ = {};
    std::optional<waiting_frame> waiting_ = {};
    std::optional<int64_t> placed_ms_ = {};
    bool behind_torn_ = false;
    step_sum usual_ = {};
    step_sum longer_ = {}; // pauses, where there are shorter ones
};

} // namespace kmr::plot
