#include "analyse/frame_row.hpp"

#include "analyse/rules.hpp"
#include "base/text_line.hpp"

#include <algorithm>
#include <cstdio>

namespace kmr {
namespace {

// What of a longer FrameNo text does not fit is cut.
constexpr size_t longest_frame_number = 19;
constexpr size_t frame_number_width = 16;
constexpr size_t column_width = 8;

// Frames with less data than this never count as encrypted.
constexpr int32_t least_encrypted_size = 64;

std::string_view type_text(const kmr_frame_header& frame, int32_t frame_class) {
    if (frame_class == KMR_FRAME_INDEX)
        return "V";
    return kmr_is_i_frame(&frame) ? "I" : "P";
}

std::string_view validity_text(int32_t frame_class) {
    switch (frame_class) {
    case KMR_FRAME_EMPTY:
        return "-2";
    case KMR_FRAME_INVALID:
        return "-1";
    case KMR_FRAME_ORDINARY:
        return "0";
    case KMR_FRAME_INSERTED:
        return "1";
    case KMR_FRAME_INDEX:
        return "IFrameIndex";
    default:
        return "VA err ";
    }
}

// The size is a signed 32-bit sum that wraps, so that a damaged header may well look too small.
bool is_encrypted(const kmr_frame_header& frame) {
    const uint32_t size = frame.VideoSize + uint32_t{frame.AFrameNum} * frame.AFrameSize;
    return (frame.Tag & 3) == 2 && static_cast<int32_t>(size) >= least_encrypted_size;
}

void put_frame_number(text_line& line, uint32_t number, const frame_pairing& pairing) {
    const auto shown = static_cast<int32_t>(number);
    if (!pairing.frames_missing()) {
        line.put_decimal(shown, frame_number_width);
        return;
    }
    char text[32];
    const int length = std::snprintf(text, sizeof text, "*%d %8d", pairing.gap(), shown);
    line.put_right({text, std::min(static_cast<size_t>(length), longest_frame_number)}, frame_number_width);
}

} // namespace

void frame_pairing::take(const kmr_frame_header& frame, bool measured) {
    if (delay_ == 0) {
        delay_ = static_cast<int32_t>(frame.TimeStamp);
        remember(frame);
    } else if (measured) {
        delay_ = static_cast<int32_t>(frame.TimeStamp - stamp_);
        gap_ = static_cast<int32_t>(frame.FrameNo - number_);
        remember(frame);
    }
}

void frame_pairing::remember(const kmr_frame_header& frame) {
    number_ = frame.FrameNo;
    stamp_ = frame.TimeStamp;
}

void print_frame_heading() {
    std::puts(rule<154>.after_blank_line());
    std::puts("Frame Detail");
    std::puts(rule<154>.line());
    std::printf("%16s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\n", "FrameNo", "Addr", "TYPE",
                "FrameSize", "VideoSize", "AFrameNum", "AFrameSize", "TimeStamp", "TimeDelay", "Valid",
                "Encrypt");
    std::puts(rule<154>.line());
}

void print_frame_row(const kmr_frame_header& frame, int32_t frame_class, uint32_t position,
                     const frame_pairing& pairing) {
    text_line line;
    put_frame_number(line, frame.FrameNo, pairing);
    line.put('\t');
    line.put_hex8(position);
    line.put('\t');
    line.put_right(type_text(frame, frame_class), column_width);
    const uint32_t numbers[] = {frame.FrameSize,  frame.VideoSize, frame.AFrameNum,
                                frame.AFrameSize, frame.TimeStamp, static_cast<uint32_t>(pairing.delay())};
    for (const uint32_t number : numbers) {
        line.put('\t');
        line.put_decimal(static_cast<int32_t>(number), column_width);
    }
    line.put('\t');
    line.put_right(validity_text(frame_class), column_width);
    line.put('\t');
    line.put_right(is_encrypted(frame) ? "*" : "", column_width);
    line.print();
}

} // namespace kmr
