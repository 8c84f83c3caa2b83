// What is to be done about the bytes between the frames, planned while the recording is judged.
#pragma once

#include "mend/changes.hpp"
#include "mend/covers.hpp"
#include "mend/new_index.hpp"
#include "mend/rebuild_walk.hpp"
#include "mend/region.hpp"
#include "mend/stamp_line.hpp"
#include "scan/judge.hpp"
#include "scan/time_line.hpp"

#include <deque>
#include <optional>
#include <vector>

namespace kmr::mend {

// Why nothing is planned although something is to be done.
enum class plan_obstacle : uint8_t { none, too_many_places, too_many_i_frames };

class frame_plan final : public scan::observer {
public:
    // `can_cut`: what lies behind the last frame may go, index and all. `stamps`: those that the scan sees in place of
    // what stands in the file, by offset.
    frame_plan(uint64_t size, bool can_cut, std::span<const right_stamp> stamps)
        : size_(size), can_cut_(can_cut), set_stamps_(stamps), changes_(size) {}

    void on_header(const scan::header_event& header) override;
    void on_frame(const scan::seen_frame& seen) override;
    void on_torn(const scan::torn_event& region) override;
    void on_index(const scan::index_event& block) override;
    void on_record(const scan::record_match& found) override { result_.index.note(found); }
    void on_trailing(const scan::trailing_event& rest) override;
    bool go_on(uint64_t offset) override;

    // Once, when the scan is over.
    void finish();

    struct result {
        plan_obstacle obstacle = plan_obstacle::none;
        changes planned = changes();
        new_index index = {};
        std::vector<region> regions = {}; // by offset
        uint64_t frames_end = 0;          // the new index stands there
        std::optional<uint64_t> last_frame = {};
        uint64_t ordinary = 0; // frames kept, those with proven lengths among them
        uint64_t inserted = 0; // without covers
        uint64_t covers = 0;
        uint64_t without_video = 0;    // ordinary ones with audio alone
        uint64_t frames_covered = 0;   // whole ones, because they are too long to grow
        bool first_frame_lost = false; // bytes in front of the first frame are none
        bool rebuild_stops = false;    // the recorder's own rebuild would cut the recording as it is
        // Stream time of the first frame kept: below 0 where the scan did not know that for one.
        int64_t first_ms = 0;
        int64_t duration_ms = 0;
        uint32_t step_ms = 0; // median step of the first frames; 0: unknown
        bool is_jpeg = false;
        std::optional<scan::index_event> old_index = {};
        std::optional<scan::trailing_event> behind_index = {};
        std::vector<right_stamp> wrong_stamps = {}; // to be set; nothing of this is planned yet
    };
    result take();

private:
    struct piece {
        enum class kind : uint8_t { ordinary, inserted, region };
        kind what = kind::region;
        uint64_t offset = 0;
        uint64_t length = 0;
        kmr_frame_header header = {};                // of a frame: with proven lengths
        bool has_header = false;                     // of a region: one whose lengths disagree stands first
        region_action action = region_action::cover; // of a region
        // Of a frame:
        bool changed = false; // its header is not what stands in the file
        bool restamped = false;
        bool starts_picture = false;
        uint32_t moved = 0;
        uint32_t grown = 0;
        int64_t stream_ms = 0;
        uint32_t clock_run = 0;
        scan::picture_size size = {};

        bool is_frame() const { return what != kind::region; }
        uint64_t end() const { return offset + length; }
        uint64_t header_place() const { return offset + moved; } // in the file as it is
    };

    bool is_set(uint64_t offset) const;
    void take_ordinary(piece frame);
    bool settle(piece* next);
    void prove_lengths(const piece* next);
    bool try_proof(size_t at, const piece* next);
    const piece* frame_before(size_t at) const;
    const piece* frame_behind(size_t at, const piece* next) const;
    void absorb_small(piece* next);
    void absorb_into_next(piece* next);
    void grow(piece& frame, const piece& by);
    void cut_tail();
    void note_step(const moment& from, const moment& to);
    void emit_all(const piece* next);
    void emit_frame(const piece& frame);
    void emit_moved(const piece& frame, const kmr_frame_header& header);
    void emit_covers(size_t at, const piece* next);
    std::optional<uint32_t> stamp_behind(size_t at, const piece* next) const;
    uint64_t covers_up_to_frame(size_t at) const;
    void emit_record(const piece& frame);
    void note(region_action action, uint64_t offset, uint64_t length, std::optional<uint32_t> frame = {});
    void put_header(uint64_t offset, const kmr_frame_header& header);
    void give_up(plan_obstacle why);

    uint64_t size_;
    bool can_cut_;
    std::span<const right_stamp> set_stamps_;
    std::optional<stamp_line> stamps_ = {};
    std::deque<piece> queue_ = {};          // the last ordinary frame and what came behind it
    std::optional<piece> settled_ = {};     // the last ordinary frame that is settled
    std::optional<moment> last_frame_ = {}; // that is settled, be it an inserted one
    uint64_t covers_behind_it_ = 0;
    rebuild_walk rebuild_ = {};
    std::optional<int64_t> first_ms_ = {};
    int64_t last_ms_ = 0;
    std::vector<uint32_t> steps_ = {};
    uint64_t jpeg_frames_ = 0;
    changes changes_;
    result result_ = result();
};

} // namespace kmr::mend
