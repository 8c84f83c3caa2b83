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

using column = column_text<column_width>;

// Frames with less data than this never count as encrypted.
constexpr int32_t least_encrypted_size = 64;

const column& type_text(const kmr_frame_header& frame, int32_t frame_class) {
    static constexpr column index_type("V");
    static constexpr column i_type("I");
    static constexpr column p_type("P");
    if (frame_class == KMR_FRAME_INDEX)
        return index_type;
    return kmr_is_i_frame(&frame) ? i_type : p_type;
}

const column& validity_text(int32_t frame_class) {
    static constexpr column empty("-2");
    static constexpr column invalid("-1");
    static constexpr column ordinary("0");
    static constexpr column inserted("1");
    static constexpr column index("IFrameIndex");
    static constexpr column damaged("VA err ");
    switch (frame_class) {
    case KMR_FRAME_EMPTY:
        return empty;
    case KMR_FRAME_INVALID:
        return invalid;
    case KMR_FRAME_ORDINARY:
        return ordinary;
    case KMR_FRAME_INSERTED:
        return inserted;
    case KMR_FRAME_INDEX:
        return index;
    default:
        return damaged;
    }
}

// The size is a signed 32-bit sum that wraps, so that a damaged header may well look too small.
bool is_encrypted(const kmr_frame_header& frame) {
    const uint32_t size = frame.VideoSize + uint32_t{frame.AFrameNum} * frame.AFrameSize;
    return (frame.Tag & 3) == 2 && static_cast<int32_t>(size) >= least_encrypted_size;
}

const column& encryption_text(const kmr_frame_header& frame) {
    static constexpr column encrypted("*");
    static constexpr column plain("");
    return is_encrypted(frame) ? encrypted : plain;
}

void put_frame_number(text_line& line, uint32_t number, const frame_pairing& pairing) {
    const auto shown = static_cast<int32_t>(number);
    if (!pairing.frames_missing()) {
        line.put_decimal<frame_number_width>(shown);
        return;
    }
    text_line with_gap;
    with_gap.put('*');
    with_gap.put_decimal<1>(pairing.gap());
    with_gap.put(' ');
    with_gap.put_decimal<column_width>(shown);
    const std::string_view text = with_gap.text();
    line.put_right<frame_number_width>({text.data(), std::min(text.size(), longest_frame_number)});
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
    line.put(type_text(frame, frame_class));
    const uint32_t numbers[] = {frame.FrameSize,  frame.VideoSize, frame.AFrameNum,
                                frame.AFrameSize, frame.TimeStamp, static_cast<uint32_t>(pairing.delay())};
    for (const uint32_t number : numbers)
        line.put_decimal<column_width, '\t'>(static_cast<int32_t>(number));
    line.put('\t');
    line.put(validity_text(frame_class));
    line.put('\t');
    line.put(encryption_text(frame));
    line.put('\n');
    line.print();
}

} // namespace kmr
