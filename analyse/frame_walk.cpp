#include "analyse/frame_walk.hpp"

#include "analyse/format/file_header.h"
#include "analyse/frame_row.hpp"
#include "analyse/frame_user_data.h"
#include "analyse/index_report.hpp"
#include "analyse/options.h"
#include "analyse/recording.hpp"
#include "analyse/report_state.h"
#include "analyse/side_file.h"
#include "base/heap_bytes.hpp"
#include "file_op/common/frame_check.h"
#include "file_op/frame_search.h"
#include "file_op/open_guards.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace kmr {
namespace {

constexpr int32_t work_buffer_size = 0x100000;

// A time stamp that jumps this far (30 minutes, in ms) does not count as stream time.
constexpr uint32_t longest_pause = 1800000;

// From this stream time on (ms) whole seconds no longer fit into 32 bits.
constexpr int64_t stream_time_limit = 1000LL << 32;

// Accumulated stream time in ms. It keeps its value between the calls that walk one recording piece by piece.
int64_t lNowTm;

class frame_walk {
public:
    frame_walk(const recording& file, uint8_t* work_buffer, uint32_t start_seconds, kmr_walk_context& context,
               int32_t quota)
        : file_(file), work_buffer_(work_buffer), start_seconds_(start_seconds), context_(context),
          quota_(quota) {}

    int32_t run();

private:
    // What the walk does behind a frame.
    enum class step { next_frame, account, resynchronise, end };

    bool find_start();
    bool read_header();
    bool row_wanted() const;
    void report_row(int32_t frame_class);
    step behind_frame(int32_t frame_class);
    step judge_index();
    step resynchronise();
    step account();
    void begin_side_files();
    void add_stream_time();
    bool extract_user_data();
    int32_t pause();

    const recording& file_;
    uint8_t* work_buffer_;
    uint32_t start_seconds_;
    kmr_walk_context& context_;
    int32_t quota_;

    kmr_frame_header header_{};
    uint32_t position_ = 0; // of the header that is read next, or was read last
    bool first_frame_ = true;
    uint32_t previous_stamp_ = 0;
    frame_pairing pairing_;
    // Where the last index-looking frame stands, as long as no ordinary frame has come behind it.
    std::optional<uint32_t> index_position_;
};

int32_t frame_walk::run() {
    if (!find_start())
        return -1;
    if (quota_ < 0)
        return pause();
    for (;;) {
        if (!read_header())
            return -1;
        const int32_t frame_class = rec_ValidFrame(&header_, KMR_MAX_FRAME_SIZE);
        report_row(frame_class);
        step next = behind_frame(frame_class);
        if (next == step::resynchronise)
            next = resynchronise();
        if (next == step::account)
            next = account();
        if (next == step::end)
            return -1;
        position_ += header_.FrameSize; // which is that of the found frame behind a resynchronisation
        if (quota_ < 0)
            return pause();
    }
}

bool frame_walk::find_start() {
    position_ = context_.Position;
    if (position_ != 0)
        return true;
    lNowTm = 0;
    if (vfs_fseek(file_.stream(), static_cast<int32_t>(KMR_FILE_HEADER_SIZE), SEEK_SET) != 0)
        return false;
    position_ = static_cast<uint32_t>(vfs_ftell(file_.stream()));
    return true;
}

bool frame_walk::read_header() {
    return vfs_fseek(file_.stream(), static_cast<int32_t>(position_), SEEK_SET) == 0 &&
           read_record(file_.stream(), header_);
}

bool frame_walk::row_wanted() const {
    return (g_Opt & KMR_OPTION_ALL) != 0 ||
           ((g_Opt & KMR_OPTION_I_FRAMES) != 0 && kmr_is_i_frame(&header_)) ||
           ((g_Opt & KMR_OPTION_MISSING_FRAMES) != 0 && pairing_.frames_missing());
}

void frame_walk::report_row(int32_t frame_class) {
    const bool measured =
        (g_Opt & KMR_OPTION_ALL) != 0 || ((g_Opt & KMR_OPTION_I_FRAMES) != 0 && kmr_is_i_frame(&header_));
    pairing_.take(header_, measured);
    if (row_wanted())
        print_frame_row(header_, frame_class, position_, pairing_);
}

frame_walk::step frame_walk::behind_frame(int32_t frame_class) {
    switch (frame_class) {
    case KMR_FRAME_ORDINARY:
        return step::account;
    case KMR_FRAME_INSERTED:
        return step::next_frame;
    case KMR_FRAME_DAMAGED:
        // A damaged frame without any length would be read for ever.
        return header_.FrameSize == 0 ? step::resynchronise : step::next_frame;
    case KMR_FRAME_INDEX:
        return judge_index();
    default:
        return step::resynchronise;
    }
}

// A trailer may lead the search back before this frame. The frames there are walked again, but when none of
// them is an ordinary one the walk would come here for ever.
frame_walk::step frame_walk::judge_index() {
    if (index_position_ == position_)
        return step::end;
    index_position_ = position_;
    report_index(file_.stream());
    return step::resynchronise;
}

// Moves to the next I-frame and its header. That frame gets no row and does not take part in the pairing.
frame_walk::step frame_walk::resynchronise() {
    constexpr uint32_t behind_sync_word = KMR_FRAME_HEADER_SIZE - sizeof header_.SyncWord;
    // Unsigned: a damaged index may have led behind 2 GiB, where positions are negative numbers.
    const auto position = static_cast<uint32_t>(vfs_ftell(file_.stream()));
    const auto start = static_cast<int32_t>(position - behind_sync_word);
    if (rec_FindNextValidIFramefromLoc(file_.stream(), file_.size(), start, &position_) != 0)
        return step::end;
    if (!read_header())
        return step::end;
    switch (rec_ValidFrame(&header_, KMR_MAX_FRAME_SIZE)) {
    case KMR_FRAME_ORDINARY:
        return step::account;
    case KMR_FRAME_INSERTED:
        return step::next_frame;
    default:
        return step::end;
    }
}

frame_walk::step frame_walk::account() {
    index_position_.reset();
    if (first_frame_)
        begin_side_files();
    add_stream_time();
    if (!extract_user_data())
        return step::end;
    --quota_;
    first_frame_ = false;
    g_TempLastFrmNum = static_cast<int32_t>(header_.FrameNo);
    previous_stamp_ = header_.TimeStamp;
    return step::next_frame;
}

// "EndFrame" still holds the last frame number of the recording before this one.
void frame_walk::begin_side_files() {
    g_TempFirstFrmNum = static_cast<int32_t>(header_.FrameNo);
    previous_stamp_ = header_.TimeStamp;
    int32_t end_frame = 0;
    myReadFile("EndFrame", &end_frame);
    g_TempLastFrmNum = end_frame;
    const auto overlap = static_cast<int32_t>(static_cast<uint32_t>(end_frame) - header_.FrameNo);
    myWriteFile("Diff", std::max(0, overlap));
}

void frame_walk::add_stream_time() {
    const uint32_t stamp = header_.TimeStamp;
    if (previous_stamp_ < stamp && stamp < previous_stamp_ + longest_pause)
        lNowTm += stamp - previous_stamp_;
}

bool frame_walk::extract_user_data() {
    const int64_t seconds = lNowTm / 1000;
    if (seconds < int64_t{start_seconds_} || lNowTm >= stream_time_limit)
        return true;
    return rec_get_vcaalarm(file_.stream(), work_buffer_, work_buffer_size, static_cast<uint32_t>(seconds),
                            &header_, &context_) != -1;
}

int32_t frame_walk::pause() {
    context_.Position = position_;
    return static_cast<int32_t>(lNowTm / 1000);
}

} // namespace

int32_t rec_WalkFrames(const char* name, uint32_t start_seconds, kmr_walk_context& context,
                       const int32_t* quota) {
    if (name == nullptr)
        return -1;
    const recording file(name);
    if (!file)
        return -1;
    const heap_bytes work_buffer = allocate_bytes(work_buffer_size);
    if (!work_buffer)
        return -1;
    return frame_walk(file, work_buffer.get(), start_seconds, context, *quota).run();
}

} // namespace kmr
