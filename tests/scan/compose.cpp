#include "tests/scan/compose.hpp"

#include "scan/byte_source.hpp"

#include <algorithm>
#include <sstream>

namespace scan_test {
namespace {

// Writes the bits of a parameter set; the composed values need no escapes.
class bit_writer {
public:
    void bits(unsigned count, uint32_t value) {
        while (count-- > 0)
            bit(value >> count & 1);
    }
    void number(uint32_t value) {
        unsigned length = 0;
        while ((value + 1) >> (length + 1) != 0)
            ++length;
        bits(length, 0);
        bits(length + 1, value + 1);
    }
    bytes finish() {
        bit(1);
        while (used_ != 0)
            bit(0);
        return bytes_;
    }

private:
    void bit(uint32_t value) {
        if (used_ == 0)
            bytes_.push_back(0);
        bytes_.back() = static_cast<uint8_t>(bytes_.back() | value << (7 - used_));
        used_ = (used_ + 1) % 8;
    }
    bytes bytes_;
    unsigned used_ = 0;
};

void append_unit(bytes& to, const bytes& unit) {
    recording::append(to, {0, 0, 0, 1});
    recording::append(to, unit);
}

void fill(bytes& to, size_t size) {
    to.resize(std::max(to.size(), size), 0xAA);
}

} // namespace

bytes h264_sequence_set(uint32_t width, uint32_t height, uint32_t crop_bottom) {
    bit_writer set;
    set.bits(8, 0x67);
    set.bits(8, 66);
    set.bits(8, 0xC0);
    set.bits(8, 40);
    set.number(0);
    set.number(0);
    set.number(2);
    set.number(1);
    set.bits(1, 0);
    set.number(width - 1);
    set.number(height - 1);
    set.bits(1, 1);
    set.bits(1, 1);
    set.bits(1, 1);
    set.number(0);
    set.number(0);
    set.number(0);
    set.number(crop_bottom);
    set.bits(1, 0);
    return set.finish();
}

bytes h265_sequence_set(uint32_t width, uint32_t height, uint32_t crop_bottom) {
    bit_writer set;
    set.bits(16, 0x4201);
    set.bits(4, 0);
    set.bits(3, 0);
    set.bits(1, 1);
    for (int i = 0; i < 12; ++i) // profile and level, 96 bits
        set.bits(8, 0x5A);
    set.number(0);
    set.number(1);
    set.number(width);
    set.number(height);
    set.bits(1, 1);
    set.number(0);
    set.number(0);
    set.number(0);
    set.number(crop_bottom);
    return set.finish();
}

bytes i_video(size_t size) {
    bytes video;
    append_unit(video, h264_sequence_set(120, 68, 4));
    append_unit(video, {0x68, 0xCE, 0x3C, 0x80});
    append_unit(video, {0x65, 0x88, 0x84});
    fill(video, size);
    return video;
}

bytes p_video(size_t size) {
    bytes video;
    append_unit(video, {0x41, 0x9A, 0x24});
    fill(video, size);
    return video;
}

bytes user_data_block(const std::string& magic, uint16_t count, const bytes& segments) {
    bytes block(magic.begin(), magic.end());
    block.resize(8);
    recording::put_u16(block, 4, count);
    recording::put_u16(block, 6, static_cast<uint16_t>(segments.size()));
    recording::append(block, segments);
    return block;
}

bytes user_data_unit(const bytes& block, bool h265) {
    bytes unit = {0, 0, 0, 1, 0x06, 0xF0};
    if (h265)
        unit = {0, 0, 0, 1, 0x4E, 0x01, 0xF0};
    size_t size = block.size();
    for (; size >= 255; size -= 255)
        unit.push_back(0xFF);
    unit.push_back(static_cast<uint8_t>(size));
    recording::append(unit, block);
    unit.push_back(0x80);
    return unit;
}

frames sound_frames(size_t count) {
    frames all;
    for (uint32_t i = 0; i < count; ++i) {
        const bool i_frame = i % 5 == 0;
        all.push_back({.number = 1 + i,
                       .time_stamp = 1000 + 40 * i,
                       .kind = i_frame ? 0U : 1U,
                       .video = i_frame ? i_video() : p_video()});
    }
    return all;
}

frames h265_frames(size_t count) {
    frames all = sound_frames(count);
    for (recording::frame& each : all) {
        const size_t size = each.video.size();
        each.video.clear();
        if (each.kind == 0) {
            append_unit(each.video, {0x40, 0x01, 0x0C});
            append_unit(each.video, h265_sequence_set(1920, 1088, 4));
            append_unit(each.video, {0x44, 0x01, 0xC1});
        }
        append_unit(each.video, {static_cast<uint8_t>(each.kind == 0 ? 0x26 : 0x02), 0x01, 0xAF});
        fill(each.video, size);
    }
    return all;
}

records records_for(const frames& of, uint64_t from) {
    records index;
    for (const recording::frame& each : of) {
        if (each.kind == 0 && each.tag != 0x7788)
            index.push_back({.time = start_time + (each.time_stamp - of.front().time_stamp) / 1000,
                             .position = static_cast<uint32_t>(from)});
        from += recording::frame_record(each).size();
    }
    return index;
}

void set_total_size(bytes& file) {
    recording::put_u32(file, 80, static_cast<uint32_t>(file.size()));
}

bytes without_index(const frames& of) {
    const auto ordinary =
        std::count_if(of.begin(), of.end(), [](const recording::frame& each) { return each.tag != 0x7788; });
    bytes file = recording::file_header(static_cast<uint32_t>(ordinary));
    for (const recording::frame& each : of)
        recording::append(file, recording::frame_record(each));
    return file;
}

bytes recording_of(const frames& of, const records& index) {
    bytes file = without_index(of);
    recording::append(file, recording::index_block(index));
    set_total_size(file);
    return file;
}

bytes recording_of(const frames& of) {
    return recording_of(of, records_for(of));
}

kmr::scan::report judge(const bytes& file) {
    kmr::scan::memory_source source(file);
    return kmr::scan::judge(source);
}

std::vector<std::string> found(const kmr::scan::report& in) {
    std::vector<std::string> lines;
    for (const kmr::scan::finding& each : in.findings) {
        const kmr::scan::finding_kind& kind = kmr::scan::kind_of(each.code);
        std::ostringstream line;
        line << kind.code << " @" << each.offset << " +" << each.length;
        if (each.frame)
            line << " #" << *each.frame;
        if (each.time_ms)
            line << " t" << *each.time_ms;
        for (const kmr::scan::field_name field : kind.fields) {
            line << ' ' << name_of(field) << '=';
            if (field == kmr::scan::field_name::field)
                line << name_of(static_cast<kmr::scan::index_field>(each.value(field)));
            else
                line << each.value(field);
        }
        lines.push_back(line.str());
    }
    return lines;
}

std::vector<std::string> found(const bytes& file) {
    return found(judge(file));
}

} // namespace scan_test
