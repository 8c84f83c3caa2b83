#include "UserDataOpt/segment_report.hpp"

#include "base/text_line.hpp"

namespace kmr {
namespace {

// 30 tabs: the user data stands far to the right of the frame rows.
constexpr char indentation[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";

} // namespace

void print_block_heading(uint16_t segment_count) {
    text_line lines;
    lines.put(indentation);
    lines.put("----------------------------------------------------\n");
    lines.put(indentation);
    lines.put("--------------UserData SegmentCount ");
    lines.put_decimal<1>(segment_count);
    lines.put("---------------\n");
    lines.put(indentation);
    lines.put("     loc\t UserData Flag\t UserData Type\n");
    lines.print();
}

void print_segment_row(uint32_t position, uint16_t flag, std::string_view name) {
    text_line line;
    line.put(indentation);
    line.put(' ');
    line.put_hex<8>(position);
    line.put("\t ");
    line.put_hex<4>(flag);
    line.put("\t ");
    line.put_right<segment_name_width>(name);
    line.put('\n');
    line.print();
}

void print_block_end() {
    putchar_unlocked('\n');
}

} // namespace kmr
