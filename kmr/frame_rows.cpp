#include "kmr/frame_rows.hpp"

#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"

#include <array>
#include <cstring>
#include <iterator>

namespace kmr::program {
namespace {

using output::append_number;
using scan::frame_class;
using scan::seen_frame;

std::string_view type_of(const seen_frame& seen) {
    return kmr_is_i_frame(&seen.frame.header) != 0 ? "I" : "P";
}

constexpr std::string_view class_of(const seen_frame& seen) {
    switch (seen.frame.kind) { // uncovered: every value has its case
    case frame_class::ordinary:
        return "ordinary";
    case frame_class::inserted:
        return "inserted";
    case frame_class::damaged:
    case frame_class::torn_at_end:
        break;
    }
    return "damaged";
}

// Digits in front of `end`, at least so many; returns where they begin.
char* put_before(char* end, uint64_t value, int least = 1) {
    for (; least > 0 || value != 0; --least, value /= 10)
        *--end = static_cast<char>('0' + value % 10);
    return end;
}

constexpr auto powers_of_ten = []() {
    std::array<uint64_t, output::longest_number> powers = {1};
    for (size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * 10;
    return powers;
}();

// A line that is filled from left to right, in place: rows are many. What is not written to is blank.
class row_line {
public:
    row_line() { std::memset(text_, ' ', sizeof text_); }

    // Most numbers have room, a blank in front of them included, and are written where they belong.
    void right(uint64_t value, size_t width) {
        if (width > 0 && width <= powers_of_ten.size() && value < powers_of_ten[width - 1]) {
            skip(width);
            put_before(at_, value);
            return;
        }
        char digits[output::longest_number];
        char* const end = std::end(digits);
        const char* const first = put_before(end, value);
        right({first, static_cast<size_t>(end - first)}, width);
    }
    void right(std::string_view text, size_t width) {
        if (text.size() < width)
            skip(width - text.size());
        else if (at_ != text_) // columns never run together
            skip(1);
        put(text);
    }
    void right_stream_time(int64_t ms, size_t width) {
        constexpr uint64_t ms_an_hour = 3600000;
        const auto length = static_cast<uint64_t>(ms);
        if (length >= 100 * ms_an_hour || width < sizeof "HH:MM:SS.mmm") { // a negative one is long too
            right(output::stream_time(ms), width);
            return;
        }
        skip(width);
        const auto part = static_cast<uint32_t>(length);
        char* first = put_before(at_, part % 1000, 3);
        *--first = '.';
        first = put_before(first, part / 1000 % 60, 2);
        *--first = ':';
        first = put_before(first, part / 60000 % 60, 2);
        *--first = ':';
        put_before(first, part / ms_an_hour);
    }
    void skip(size_t blanks) { at_ += blanks; }
    void put(std::string_view text) {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    std::string_view text() const { return {text_, static_cast<size_t>(at_ - text_)}; }

private:
    static constexpr size_t columns = 14;

    char text_[columns * 32]; // none is wider, neither by its numbers nor by its blanks
    char* at_ = text_;
};

class table_writer final : public frame_writer {
public:
    explicit table_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& to, bool /*user_data*/) override {
        to += "    number       offset type     size video_size audio_frames audio_size      stamp  delay_ms "
              "  gap"
              "       stream  time                           class\n";
    }

    void append(std::string& to, const frame_row& row) override {
        const kmr_frame_header& header = row.seen.frame.header;
        row_line line;
        line.right(header.FrameNo, 10);
        line.right(row.seen.frame.offset, 13);
        line.right(type_of(row.seen), 5);
        line.right(header.FrameSize, 9);
        line.right(header.VideoSize, 11);
        line.right(header.AFrameNum, 13);
        line.right(header.AFrameSize, 11);
        line.right(header.TimeStamp, 11);
        put_delay(line, row.seen.delay_ms);
        line.right(row.seen.gap, 6);
        line.right_stream_time(row.seen.stream_ms, 13);
        line.skip(2);
        line.put(row.time_ms ? clock_.iso_text(*row.time_ms) : no_time);
        line.skip(2);
        line.put(class_of(row.seen));
        line.put("\n");
        to += line.text();
        if (row.user_data != nullptr)
            for (const segment_text& each : *row.user_data)
                append_segment(to, each);
    }

private:
    static constexpr std::string_view no_time = "-                            ";

    static void put_delay(row_line& to, int64_t ms) {
        if (ms >= 0)
            to.right(static_cast<uint64_t>(ms), 10);
        else
            to.right(std::to_string(ms), 10);
    }

    static void append_segment(std::string& to, const segment_text& segment) {
        to.append(12, ' ').append(segment.kind).append(": ");
        output::append_text(to, segment.value);
        to += '\n';
    }

    output::clock clock_;
};

class csv_writer final : public frame_writer {
public:
    explicit csv_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& to, bool user_data) override {
        to += "number,offset,type,size,video_size,audio_frames,audio_size,stamp,delay_ms,gap,stream_ms,time,"
              "class";
        to += user_data ? ",user_data\n" : "\n";
    }

    void append(std::string& to, const frame_row& row) override {
        const kmr_frame_header& header = row.seen.frame.header;
        append_number(to, header.FrameNo);
        append_number(to += ',', row.seen.frame.offset);
        to.append(",").append(type_of(row.seen));
        append_number(to += ',', header.FrameSize);
        append_number(to += ',', header.VideoSize);
        append_number(to += ',', header.AFrameNum);
        append_number(to += ',', header.AFrameSize);
        append_number(to += ',', header.TimeStamp);
        append_number(to += ',', row.seen.delay_ms);
        append_number(to += ',', row.seen.gap);
        append_number(to += ',', row.seen.stream_ms);
        to += ',';
        if (row.time_ms)
            to += clock_.iso_text(*row.time_ms);
        to.append(",").append(class_of(row.seen));
        if (row.user_data != nullptr)
            append_segments(to, *row.user_data);
        to += '\n';
    }

private:
    static void append_segments(std::string& to, const std::vector<segment_text>& segments) {
        std::string all;
        for (const segment_text& each : segments)
            all.append(all.empty() ? "" : "; ").append(each.kind).append("=").append(each.value);
        output::append_csv(to += ',', all);
    }

    output::clock clock_;
};

// What a frame has in JSON, in this order, up to its place in time.
template <typename Take>
void for_each_member(const frame_row& row, Take take) {
    const kmr_frame_header& header = row.seen.frame.header;
    take("number", header.FrameNo);
    take("offset", row.seen.frame.offset);
    take("type", type_of(row.seen));
    take("size", header.FrameSize);
    take("video_size", header.VideoSize);
    take("audio_frames", header.AFrameNum);
    take("audio_size", header.AFrameSize);
    take("stamp", header.TimeStamp);
    take("delay_ms", row.seen.delay_ms);
    take("gap", row.seen.gap);
    take("stream_ms", row.seen.stream_ms);
}

void write_segments(output::json_writer& json, const std::vector<segment_text>& segments) {
    json.begin_array();
    for (const segment_text& each : segments)
        json.begin_object().member("kind", each.kind).member("value", each.value).end_object();
    json.end_array();
}

class json_frame_writer final : public frame_writer {
public:
    explicit json_frame_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& /*to*/, bool /*user_data*/) override {}

    void append(std::string& to, const frame_row& row) override {
        output::json_writer json(to);
        json.begin_object();
        for_each_member(row, [&](std::string_view name, const auto& value) { json.member(name, value); });
        json.member("time", clock_.iso(row.time_ms)).member("class", class_of(row.seen));
        if (row.user_data != nullptr)
            write_segments(json.key("user_data"), *row.user_data);
        json.end_object();
        to += '\n';
    }

private:
    output::clock clock_;
};

class json_columns_writer final : public frame_writer {
public:
    void append_heading(std::string& to, bool user_data) override {
        output::json_writer json(to);
        json.begin_array();
        const scan::frame_event any_frame;
        const seen_frame any{.frame = any_frame};
        for_each_member({.seen = any, .time_ms = {}},
                        [&](std::string_view name, const auto& /*value*/) { json.value(name); });
        json.value("class");
        if (user_data)
            json.value("user_data");
        json.end_array();
    }

    void append(std::string& to, const frame_row& row) override {
        output::json_writer json(to);
        json.begin_array();
        for_each_member(row, [&](std::string_view /*name*/, const auto& value) { json.value(value); });
        json.value(class_of(row.seen));
        if (row.user_data != nullptr)
            write_segments(json, *row.user_data);
        json.end_array();
    }
};

} // namespace

std::unique_ptr<frame_writer> frame_writer::make(frame_format format, output::time_zone zone) {
    switch (format) { // uncovered: every value has its case
    case frame_format::csv:
        return std::make_unique<csv_writer>(zone);
    case frame_format::json:
        return std::make_unique<json_frame_writer>(zone);
    case frame_format::json_columns:
        return std::make_unique<json_columns_writer>();
    case frame_format::table:
        break;
    }
    return std::make_unique<table_writer>(zone);
}

} // namespace kmr::program
