#include "tests/program/recordings.hpp"

#include <string_view>

namespace recordings {
namespace {

const bytes h264_marker{0x00, 0x00, 0x00, 0x01, 0x06, 0xF0};
const bytes h265_marker{0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0xF0};

void append_u16(bytes& to, size_t value) {
    to.push_back(static_cast<uint8_t>(value));
    to.push_back(static_cast<uint8_t>(value >> 8));
}

bytes segment(uint16_t flag, const bytes& payload) {
    bytes all;
    append_u16(all, flag);
    append_u16(all, payload.size());
    recording::append(all, payload);
    return all;
}

// Magic, segment count and length field before the segments.
bytes block(uint16_t count, const std::vector<bytes>& segments) {
    size_t length = 0;
    for (const bytes& each : segments)
        length += each.size();
    bytes all{'Z', 'N', 'S', 'T'};
    append_u16(all, count);
    append_u16(all, length);
    for (const bytes& each : segments)
        recording::append(all, each);
    return all;
}

// What stands at the start of a frame's video data, with some of the stream behind it.
bytes message(const bytes& marker, const bytes& content) {
    bytes all = marker;
    size_t rest = content.size();
    for (; rest >= 255; rest -= 255)
        all.push_back(0xFF);
    all.push_back(static_cast<uint8_t>(rest));
    recording::append(all, content);
    recording::append(all, {0x80, 0x00, 0x00, 0x00, 0x01, 0x65, 0xAA, 0xAA});
    return all;
}

bytes every_segment() {
    return block(10, {
                         segment(0xFED1, bytes(5, 'o')),
                         segment(0xFED2, bytes(3, 'v')),
                         segment(0xFED3, {}),
                         segment(0xFED4, bytes(7, 'g')),
                         segment(0x0001, bytes(2, 'u')),
                         segment(0xFED5, bytes(4, 'p')),
                         segment(0xFED6, bytes(6, 'a')),
                         segment(0xFED7, {0x60, 0x01, 0x11, 0x11, 0x20, 0x01, 0x11, 0x11}),
                         segment(0xFED8, bytes(1, 'i')),
                         segment(0xFED9, {0x05, 0x00, 0x03, 0x00, 0x77}),
                     });
}

bytes every_kind_of_message() {
    const bytes osd = segment(0xFED1, bytes(5, 'o'));
    const bytes unknown = segment(0x1234, bytes(3, '?'));
    bytes length_wrong = block(1, {osd});
    length_wrong[6] = static_cast<uint8_t>(length_wrong[6] - 1);
    bytes magic_wrong = block(1, {osd});
    magic_wrong[3] = 'X';
    bytes segment_too_long = block(2, {osd, segment(0xFED4, bytes(7, 'g'))});
    segment_too_long[8 + osd.size() + 2] = 8;
    bytes not_at_the_start{0xAA};
    recording::append(not_at_the_start, message(h264_marker, block(1, {osd})));
    // A segment of 3 bytes, 00 00 01, with one escape. The length field counts it; one that does not is refused.
    const bytes escaped{'Z', 'N', 'S', 'T', 1, 0, 8, 0, 0xD5, 0xFE, 3, 0, 0, 0, 3, 1};
    bytes escape_not_counted = escaped;
    escape_not_counted[6] = 7;

    const std::vector<bytes> videos{
        message(h264_marker, every_segment()),
        message(h265_marker, block(1, {segment(0xFED4, bytes(7, 'g'))})),
        message(h264_marker, block(0, {})),
        message(h264_marker, length_wrong),
        message(h264_marker, magic_wrong),
        message(h264_marker, block(3, {osd, unknown, osd})),
        message(h264_marker, segment_too_long),
        message(h264_marker, block(1, {segment(0xFED8, bytes(253, 'i'))})),
        message(h264_marker, escaped),
        message(h264_marker, escape_not_counted),
        not_at_the_start,
        message(h264_marker, bytes(4, 'Z')),
        message(h264_marker, block(2, {osd})),
        message(h264_marker, block(1, {segment(0xFED9, {0x00, 0x00, 0x01, 0x00})})),
    };
    std::vector<frame> frames;
    for (uint32_t number = 1; const bytes& video : videos) {
        frames.push_back(
            {.number = number, .time_stamp = number * 1000, .kind = number == 1 ? 0U : 1U, .video = video});
        ++number;
    }
    return recording::sound(frames);
}

// User data longer than what is read of a frame, and a size that no block has.
bytes too_long_messages() {
    bytes size_1025 = h264_marker;
    recording::append(size_1025, {0xFF, 0xFF, 0xFF, 0xFF, 5, 'Z', 'N', 'S', 'T'});
    recording::append(size_1025, bytes(1200, 0xAA));
    bytes size_all_ones = h264_marker;
    recording::append(size_all_ones, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'Z', 'N', 'S', 'T'});
    return recording::sound({
        {.number = 1, .time_stamp = 1000, .kind = 0, .video = size_1025},
        {.number = 2, .time_stamp = 2000, .kind = 1, .video = size_all_ones},
        {.number = 3,
         .time_stamp = 3000,
         .kind = 1,
         .video = message(h264_marker,
                          block(2, {segment(0xFED1, bytes(900, 'o')), segment(0xFED4, bytes(90, 'g'))}))},
    });
}

} // namespace

const table of_user_data = {
    {"user_data.kmr", every_kind_of_message},
    {"too_long_user_data.kmr", too_long_messages},
};

} // namespace recordings
