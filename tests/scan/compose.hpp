// Recordings for the tests of the scan, whose places can be told by heart: I-frames take 152 bytes, P-frames 96, every
// fifth frame is an I-frame. Of ten frames the headers stand at 88, 240, 336, 432, 528, 624, 776, 872, 968 and 1064, the
// index at 1160, and the file ends at 1372. Numbers count from 1, stamps from 1000 in steps of 40.
#pragma once

#include "scan/judge.hpp"
#include "tests/support/recording_bytes.hpp"

#include <string>
#include <vector>

namespace scan_test {

using recording::bytes;
using frames = std::vector<recording::frame>;
using records = std::vector<recording::index_record>;

inline constexpr uint32_t start_time = 1420167845; // 2015-01-02 03:04:05 UTC

// Video data that begins as the recorder's does: start codes, parameter sets of 1920 x 1080, a picture.
bytes i_video(size_t size = 120);
bytes p_video(size_t size = 64);

// The unit of the recorder's user data in front of what a frame's video begins with.
bytes user_data_unit(const bytes& block, bool h265 = false);
bytes user_data_block(const std::string& magic, uint16_t count, const bytes& segments);

// Sequence parameter sets, written bit by bit.
bytes h264_sequence_set(uint32_t width_in_macroblocks, uint32_t height_in_macroblocks, uint32_t crop_bottom);
bytes h265_sequence_set(uint32_t width, uint32_t height, uint32_t crop_bottom);

frames sound_frames(size_t count);
frames h265_frames(size_t count); // the same numbers, stamps and lengths

// One record per I-frame, as the recorder writes them; `from` is the offset of the first frame.
records records_for(const frames& of, uint64_t from = 88);

// Header, frames, index; TotalSize and FrameCount are right.
bytes recording_of(const frames& of);
bytes recording_of(const frames& of, const records& index);
bytes without_index(const frames& of);
void set_total_size(bytes& file);

kmr::scan::report judge(const bytes& file);

// "code @offset +length #frame tTIME field=value ...", the frame and its time left out where there is none.
std::vector<std::string> found(const kmr::scan::report& in);
std::vector<std::string> found(const bytes& file);

} // namespace scan_test
