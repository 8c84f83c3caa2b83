#include "UserDataOpt/segment_report.hpp"

#include "base/text_line.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace kmr {
namespace {

template <size_t... Sizes>
consteval auto joined(const char (&... literals)[Sizes]) {
    std::array<char, (Sizes + ...) - sizeof...(Sizes)> text{};
    auto at = text.begin();
    ((at = std::copy_n(literals, Sizes - 1, at)), ...);
    return text;
}

// 30 tabs: the user data stands far to the right of the frame rows.
constexpr char indentation[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";

// The heading of a block, in front of and behind the number of its segments.
constexpr auto heading_front = joined(indentation, "----------------------------------------------------\n",
                                      indentation, "--------------UserData SegmentCount ");
constexpr auto heading_back =
    joined("---------------\n", indentation, "     loc\t UserData Flag\t UserData Type\n");

// All rows of a block are the same up to the flag: indentation, blank, 8 digits, tab, blank.
using row_front = std::array<char, sizeof indentation - 1 + 11>;

// What follows is the same for every segment of its kind: flag, tab, blank, name, line feed.
constexpr size_t flag_width = 4;
using row_back = std::array<char, flag_width + 2 + segment_name_width + 1>;
constexpr size_t longest_row = sizeof(row_front) + sizeof(row_back);

constexpr row_back back_of_row(const segment_kind& kind) { // uncovered: runs in the compiler
    row_back text{};
    text.fill(' ');
    size_t at = flag_width;
    for (unsigned digits = kind.flag; digits != 0; digits /= 16)
        text[--at] = "0123456789abcdef"[digits % 16];
    text[flag_width] = '\t';
    std::copy(kind.name.rbegin(), kind.name.rend(), text.rbegin() + 1);
    text.back() = '\n';
    return text;
}

// With an empty list of parameters: without one, cppcheck cannot read the loop.
constexpr auto row_backs = []() {
    std::array<row_back, std::size(segment_kinds)> backs{};
    for (size_t i = 0; i < backs.size(); ++i)
        backs[i] = back_of_row(segment_kinds[i]);
    return backs;
}();

// What of a block has not been handed out yet: nothing else prints between its heading and its end.
text_line pending;
row_front front;

void begin_row() {
    if (!pending.has_room(longest_row))
        pending.print();
    pending.put(front);
}

} // namespace

void print_block_heading(uint16_t segment_count, uint32_t position) {
    text_line line;
    line.put(indentation);
    line.put(' ');
    line.put_hex<8>(position);
    line.put("\t ");
    std::memcpy(front.data(), line.text().data(), front.size());

    pending.put(heading_front);
    pending.put_decimal<1>(segment_count);
    pending.put(heading_back);
}

void print_segment_row(const segment_kind& kind) {
    begin_row();
    pending.put(row_backs[static_cast<size_t>(&kind - segment_kinds)]);
}

void print_segment_row(uint16_t flag, std::string_view name) {
    begin_row();
    pending.put_hex<flag_width>(flag);
    pending.put("\t ");
    pending.put_right<segment_name_width>(name);
    pending.put('\n');
}

void print_block_end() {
    pending.put('\n');
    pending.print();
}

} // namespace kmr
