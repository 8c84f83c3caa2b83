#include "scan/scanner.hpp"

#include "UserDataOpt/user_data.h"
#include "file_op/common/frame_check.h"
#include "scan/frame_search.hpp"
#include "scan/index_place.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kmr::scan {
namespace {

constexpr size_t header_size = KMR_FRAME_HEADER_SIZE;
constexpr size_t payload_size = 1024;
constexpr size_t long_payload_size =
    2560; // the longest user data, and as much of the codec's units behind it

constexpr int64_t far_ahead_ms = 2000;

// `video` is longer than any marker.
bool begins_with_user_data(std::span<const uint8_t> video) {
    const auto begins_with = [&](std::span<const uint8_t> marker) {
        return std::equal(marker.begin(), marker.end(), video.begin());
    };
    return begins_with(kmr_user_data_start_h264) || begins_with(kmr_user_data_start_h265);
}

} // namespace

class scanner::state {
public:
    explicit state(byte_source& source) : recording_(source) {
        try {
            index_.emplace(recording_);
            if (const auto offset = index_->expected())
                expected_ = index_->describe(*offset);
        } catch (const read_stopped& stopped) {
            stop(stopped);
        }
    }

    event next() {
        try {
            return step();
        } catch (const read_stopped& stopped) {
            return stop(stopped);
        }
    }

    std::optional<index_event> expected_index() const { return expected_; }

private:
    enum class place : uint8_t { file_header, chain, damage, index, behind_index, end };

    // Between the last good byte and the place where the recording goes on.
    struct damage {
        uint64_t begin = 0;
        std::optional<kmr_frame_header> broken_header = {}; // of a damaged frame at `begin`
        good_place until = {};
        std::optional<frame_search::lone_frame> lone = {}; // found, and its turn comes next
    };

    event step() {
        switch (at_) { // uncovered: every value has its case
        case place::file_header:
            return file_header();
        case place::chain:
            return chain();
        case place::damage:
            return inside_damage();
        case place::index:
            return index_block();
        case place::behind_index:
            return behind_index();
        case place::end:
            break;
        }
        return end_;
    }

    event stop(const read_stopped& stopped) {
        end_ = {.offset = offset_,
                .state = stopped.error == 0 ? end_state::shrunk : end_state::read_failed,
                .error = stopped.error};
        at_ = place::end;
        return end_;
    }

    event finish() {
        end_ = {.offset = offset_, .state = end_state::complete, .error = 0};
        at_ = place::end;
        return end_;
    }

    event file_header() {
        header_event found;
        found.length = static_cast<uint32_t>(
            recording_.peek(0, {reinterpret_cast<uint8_t*>(&found.header), sizeof found.header}));
        if (found.length < sizeof found.header)
            found.state = header_state::too_short;
        else if (Common_IsValidFileHeader(&found.header) < 0)
            found.state = header_state::implausible;
        offset_ = found.length;
        at_ = place::chain;
        return found;
    }

    event chain() {
        const uint64_t rest = recording_.size() - offset_;
        if (rest == 0)
            return finish();
        if (rest < header_size)
            return torn_at_end(nullptr);
        const std::span<const uint8_t> bytes = recording_.view(offset_, header_size + payload_size);
        kmr_frame_header header = {};
        std::memcpy(&header, bytes.data(), sizeof header);
        const index_places::proof proof = index_->begins_at(offset_, header);
        if (proof == index_places::proof::established)
            return index_block();
        switch (rec_ValidFrame(&header, 0)) {
        case KMR_FRAME_DAMAGED:
            return begin_damage(header,
                                search_behind({offset_ + header.FrameSize, offset_ + claimed_size(header)}));
        case KMR_FRAME_ORDINARY:
        case KMR_FRAME_INSERTED:
        case KMR_FRAME_INDEX:
            break;
        default:
            return begin_damage({}, search_behind({}));
        }
        const uint64_t room = index_->frames_end() - offset_;
        if (is_last(header)) {
            if (const auto swallowed = frame_within(header))
                return begin_damage({}, *swallowed);
        }
        if (header.FrameSize <= room)
            return whole_frame(offset_, header);
        const good_place behind = search_behind({});
        if (behind.what != good_place::kind::end)
            return begin_damage({}, behind);
        return proof == index_places::proof::runs_on ? index_block() : torn_at_end(&header);
    }

    static uint64_t claimed_size(const kmr_frame_header& header) {
        return header_size + uint64_t{header.VideoSize} + uint64_t{header.AFrameNum} * header.AFrameSize;
    }

    good_place search_behind(std::array<uint64_t, 2> likely) {
        return frame_search(recording_, *index_)
            .next_good(offset_ + 1, {.last = believed_, .likely = likely});
    }

    // Whether it reaches to the end of all frames. That of an index which no trailer names is met on the way.
    bool is_last(const kmr_frame_header& header) {
        const uint64_t end = offset_ + header.FrameSize;
        if (end == index_->frames_end() || index_->expected())
            return end == index_->frames_end();
        kmr_frame_header behind = {};
        return recording_.load(end, behind) && index_->begins_at(end, behind) != index_places::proof::none;
    }

    // A frame that claims exactly the rest is the last one, unless the recording goes on within it.
    std::optional<good_place> frame_within(const kmr_frame_header& header) {
        const bool ordinary = rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY;
        const auto before = ordinary ? frame_moment{header.FrameNo, header.TimeStamp} : believed_;
        frame_search search(recording_, *index_);
        good_place found = search.next_good(offset_ + header_size, {.last = before, .likely = {}});
        while (found.what == good_place::kind::header && !follows(before, found.header))
            found = search.next_good(found.offset + 1, {.last = before, .likely = {}});
        return found.what == good_place::kind::header ? std::optional(found) : std::nullopt;
    }

    static bool follows(const std::optional<frame_moment>& before, const kmr_frame_header& header) {
        return rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY &&
               (!before || (wrapped_distance(before->number, header.FrameNo) > 0 &&
                            wrapped_distance(before->stamp, header.TimeStamp) > 0));
    }

    event begin_damage(std::optional<kmr_frame_header> broken_header, const good_place& until) {
        damage_ = {.begin = offset_, .broken_header = broken_header, .until = until, .lone = {}};
        at_ = place::damage;
        return inside_damage();
    }

    event inside_damage() {
        if (!damage_.lone)
            damage_.lone = next_lone();
        const uint64_t end = damage_.lone ? damage_.lone->offset : damage_.until.offset;
        if (damage_.begin < end)
            return damaged_piece(end);
        if (damage_.lone)
            return lone_frame();
        at_ = damage_.until.what == good_place::kind::index ? place::index : place::chain;
        return step();
    }

    std::optional<frame_search::lone_frame> next_lone() {
        const good_place& until = damage_.until;
        if (until.what != good_place::kind::header || !believed_ || damage_.begin >= until.offset)
            return {};
        return frame_search(recording_, *index_)
            .next_lone(damage_.begin, until.offset, *believed_,
                       {until.header.FrameNo, until.header.TimeStamp});
    }

    event damaged_piece(uint64_t end) {
        const uint64_t begin = std::exchange(damage_.begin, end);
        const auto header = std::exchange(damage_.broken_header, std::nullopt);
        offset_ = end;
        if (!header)
            return torn_event{.offset = begin, .length = end - begin};
        frame_event frame;
        frame.offset = begin;
        frame.length = end - begin;
        frame.kind = frame_class::damaged;
        frame.header = *header;
        return frame;
    }

    event lone_frame() {
        const frame_search::lone_frame found = *damage_.lone;
        damage_.lone.reset();
        damage_.begin = found.offset + found.header.FrameSize;
        return whole_frame(found.offset, found.header);
    }

    event whole_frame(uint64_t offset, const kmr_frame_header& header) {
        frame_event frame;
        frame.offset = offset;
        frame.length = header.FrameSize;
        frame.header = header;
        frame.kind =
            rec_ValidFrame(&header, 0) == KMR_FRAME_INSERTED ? frame_class::inserted : frame_class::ordinary;
        if (frame.kind == frame_class::ordinary)
            note_moment({header.FrameNo, header.TimeStamp});
        frame.payload = video_of(offset, header, payload_size);
        frame.long_payload = frame.payload;
        if (frame.payload.size() == payload_size && begins_with_user_data(frame.payload)) {
            frame.long_payload = video_of(offset, header, long_payload_size);
            frame.payload = frame.long_payload.first(payload_size);
        }
        offset_ = offset + header.FrameSize;
        return frame;
    }

    // A frame far ahead of the others, by number and stamp, is believed when the next one goes on from it: alone it would
    // make all that stands behind damage older than itself.
    void note_moment(const frame_moment& now) {
        const bool far_ahead = last_ && wrapped_distance(last_->number, now.number) > 1 &&
                               wrapped_distance(last_->stamp, now.stamp) > far_ahead_ms;
        if (!far_ahead)
            believed_ = now;
        last_ = now;
    }

    std::span<const uint8_t> video_of(uint64_t offset, const kmr_frame_header& header, size_t most) {
        const size_t length = std::min<size_t>(header.VideoSize, most);
        return recording_.view(offset, header_size + length).subspan(header_size);
    }

    event torn_at_end(const kmr_frame_header* header) {
        frame_event frame;
        frame.offset = offset_;
        frame.length = recording_.size() - offset_;
        frame.kind = frame_class::torn_at_end;
        frame.header_whole = header != nullptr;
        if (header != nullptr)
            frame.header = *header;
        offset_ = recording_.size();
        return frame;
    }

    event index_block() {
        const index_event block = index_->describe(offset_);
        offset_ += block.length;
        at_ = place::behind_index;
        return block;
    }

    event behind_index() {
        const trailing_event rest = {.offset = offset_, .length = recording_.size() - offset_};
        if (rest.length == 0)
            return finish();
        offset_ = recording_.size();
        return rest;
    }

    window recording_;
    std::optional<index_places> index_; // none when the file could not even be read for it
    std::optional<index_event> expected_ = {};
    place at_ = place::file_header;
    uint64_t offset_ = 0;                       // behind the last event
    std::optional<frame_moment> last_ = {};     // of the last ordinary frame
    std::optional<frame_moment> believed_ = {}; // what stands behind damage is held against it
    damage damage_ = {};
    end_event end_ = {};
};

scanner::scanner(byte_source& source) : state_(std::make_unique<state>(source)) {}

scanner::~scanner() = default;

event scanner::next() {
    return state_->next();
}

std::optional<index_event> scanner::expected_index() const {
    return state_->expected_index();
}

} // namespace kmr::scan
