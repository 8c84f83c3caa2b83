#include "UserDataOpt/segment_report.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>

namespace kmr {
namespace {

// 30 tabs: the user data stands far to the right of the frame rows.
constexpr char indentation[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
constexpr size_t indentation_width = sizeof indentation - 1;

// A row as it goes out: every field is filled to its width, so all rows have one length and need no
// formatting.
struct segment_row {
    char indentation[indentation_width];
    char before_position[1];
    char position[8];
    char before_flag[2];
    char flag[4];
    char before_name[2];
    char name[segment_name_width];
    char line_feed[1];
};

void put_text_right(std::span<char> field, std::string_view text) {
    const size_t length = std::min(text.size(), field.size());
    std::memset(field.data(), ' ', field.size() - length);
    std::memcpy(field.data() + field.size() - length, text.data(), length);
}

// The field must have a place for each digit of the type.
template <typename Number>
void put_hex_right(std::span<char, 2 * sizeof(Number)> field, Number value) {
    size_t at = field.size();
    do {
        field[--at] = "0123456789abcdef"[value % 16];
        value = static_cast<Number>(value / 16);
    } while (value != 0);
    std::memset(field.data(), ' ', at);
}

} // namespace

void print_block_heading(uint16_t segment_count) {
    std::printf("%s----------------------------------------------------\n"
                "%s--------------UserData SegmentCount %d---------------\n"
                "%s     loc\t UserData Flag\t UserData Type\n",
                indentation, indentation, segment_count, indentation);
}

void print_segment_row(uint32_t position, uint16_t flag, std::string_view name) {
    segment_row row;
    std::memcpy(row.indentation, indentation, sizeof row.indentation);
    std::memcpy(row.before_position, " ", sizeof row.before_position);
    put_hex_right<uint32_t>(row.position, position);
    std::memcpy(row.before_flag, "\t ", sizeof row.before_flag);
    put_hex_right<uint16_t>(row.flag, flag);
    std::memcpy(row.before_name, "\t ", sizeof row.before_name);
    put_text_right(row.name, name);
    std::memcpy(row.line_feed, "\n", sizeof row.line_feed);
    std::fwrite(&row, 1, sizeof row, stdout);
}

void print_block_end() {
    std::putchar('\n');
}

} // namespace kmr
