// When pictures are shown that stand in another order than the one in which they are shown. The recorder's clock counts
// them as they stand; the first that is shown gets the first time, the second the second, and so on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace kmr::convert {

struct picture_place {
    int32_t order = 0;   // among those behind the last one that starts
    bool starts = false; // shown behind all that stand in front of it
};

// How many pictures stand in front of one that is shown before them, at most.
size_t depth_of(std::span<const picture_place> pictures);

struct picture_times {
    int64_t shown = 0;
    int64_t decoded = 0; // never later; it rises from picture to picture
    int64_t lasts = 0;
};

class shown_order {
public:
    // `depth` as above: 0 for pictures that stand as they are shown. `usual_ms` is how long a picture takes.
    shown_order(size_t depth, int64_t usual_ms) : depth_(static_cast<int64_t>(depth)), usual_ms_(usual_ms) {}

    // Times rise from picture to picture.
    void take(int64_t at_ms, picture_place place);
    // Behind the last one, which lasts so long.
    void finish(int64_t last_step_ms);

    // Of the first picture that has not been asked for, as soon as they are known.
    std::optional<picture_times> next();

private:
    struct waiting_picture {
        int32_t order = 0;
        int64_t number = 0;
    };

    void show_first();
    void show_all();
    int64_t time(int64_t number) const;

    int64_t depth_;
    int64_t usual_ms_;
    std::deque<int64_t> times_ = {}; // from the one numbered `first_time_` on
    int64_t first_time_ = 0;
    std::deque<std::optional<int64_t>> ranks_ = {}; // of those that are not asked for
    std::vector<waiting_picture> waiting_ = {};
    int64_t asked_ = 0;
    int64_t taken_ = 0;
    int64_t shown_ = 0;
};

} // namespace kmr::convert
