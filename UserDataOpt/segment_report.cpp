#include "UserDataOpt/segment_report.hpp"

#include "base/text_line.hpp"

namespace kmr {
namespace {

// 30 tabs: the user data stands far to the right of the frame rows.
constexpr char indentation[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";

constexpr size_t longest_row = 2 * longest_field;

// What of a block has not been handed out yet: nothing else prints between its heading and its end.
text_line pending;

} // namespace

void print_block_heading(uint16_t segment_count) {
    pending.put(indentation);
    pending.put("----------------------------------------------------\n");
    pending.put(indentation);
    pending.put("--------------UserData SegmentCount ");
    pending.put_decimal<1>(segment_count);
    pending.put("---------------\n");
    pending.put(indentation);
    pending.put("     loc\t UserData Flag\t UserData Type\n");
}

void print_segment_row(uint32_t position, uint16_t flag, std::string_view name) {
    if (!pending.has_room(longest_row))
        pending.print();
    pending.put(indentation);
    pending.put(' ');
    pending.put_hex<8>(position);
    pending.put("\t ");
    pending.put_hex<4>(flag);
    pending.put("\t ");
    pending.put_right<segment_name_width>(name);
    pending.put('\n');
}

void print_block_end() {
    pending.put('\n');
    pending.print();
}

} // namespace kmr
