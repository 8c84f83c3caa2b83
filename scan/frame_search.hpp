// Finding the way back to the frames behind damage.
#pragma once

#include "scan/index_place.hpp"
#include "scan/window.hpp"

#include <array>
#include <optional>

namespace kmr::scan {

// A frame's place in the order of a recording.
struct frame_moment {
    uint32_t number = 0;
    uint32_t stamp = 0;
};

struct good_place {
    enum class kind : uint8_t { header, index, end };
    kind what = kind::end;
    uint64_t offset = 0;
    kmr_frame_header header = {};
};

class frame_search {
public:
    frame_search(window& recording, index_places& index) : recording_(recording), index_(index) {}

    struct clues {
        std::optional<frame_moment> last = {};   // of the last good ordinary frame
        std::array<uint64_t, 2> likely = {0, 0}; // where a broken header says that its frame ends
    };
    // The first place from `from` on where the recording goes on. Throws read_stopped.
    good_place next_good(uint64_t from, const clues& known);

    struct lone_frame {
        uint64_t offset = 0;
        kmr_frame_header header = {};
    };
    // The first frame that lies wholly in `from` to `to` and, by number and stamp, strictly between its neighbours.
    // Throws read_stopped.
    std::optional<lone_frame> next_lone(uint64_t from, uint64_t to, const frame_moment& before,
                                        const frame_moment& behind);

private:
    std::optional<uint64_t> next_sync(uint64_t from, uint64_t to); // `from` is not behind `to`
    bool is_followed(uint64_t end);
    bool goes_on_at(uint64_t offset, const kmr_frame_header& header, const clues& known);
    std::optional<uint64_t> named_index(uint64_t from);

    window& recording_;
    index_places& index_;
};

} // namespace kmr::scan
