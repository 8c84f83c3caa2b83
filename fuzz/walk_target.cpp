// The viewer's whole report on a recording (-a -u -t), and its table of frames held against the bytes of the file.
#include "analyse/analyse.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"
#include "analyse/options.h"
#include "fuzz/memory_disk.hpp"
#include "fuzz/printed.hpp"
#include "fuzz/seed_recordings.hpp"

#include <algorithm>
#include <charconv>
#include <optional>

namespace fuzz {
namespace {

using recording::get_u32;

std::string report_of(const bytes& file, uint32_t options) {
    const memory_disk disk(file, work_bound::report(file));
    printed out;
    analyse_kmr(memory_disk::path, options);
    expect(disk.content() == file, "a report leaves the recording as it was");
    return std::string(out.text());
}

// The lines behind the heading of the table. The header's text may hold such a heading, so the last one counts.
std::vector<std::string_view> table_lines(std::string_view report) {
    constexpr std::string_view heading = "Frame Detail\n";
    const size_t at = report.rfind(heading);
    expect(at != std::string_view::npos, "a report with rows has their heading");
    std::vector<std::string_view> lines = split(report.substr(at + heading.size()), '\n');
    expect(lines.size() >= 4,
           "the heading is whole"); // a rule, the columns, a rule, and behind the last line feed
    lines.erase(lines.begin(), lines.begin() + 3);
    lines.pop_back();
    return lines;
}

template <typename Number>
std::optional<Number> number_in(std::string_view text, int base = 10) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

constexpr size_t columns = 11;

void expect_number(std::string_view column, uint32_t value) {
    expect(number_in<int32_t>(column) == static_cast<int32_t>(value), "a row shows what the file holds");
}

// A row against the header that stands at its address; the address.
uint32_t expect_row(const bytes& file, const std::vector<std::string_view>& row) {
    const std::optional<uint32_t> address = number_in<uint32_t>(row[1], 16);
    expect(address.has_value() && *address + KMR_FRAME_HEADER_SIZE <= file.size(),
           "a row names a place where a header can stand");
    const uint32_t at = *address;
    expect_number(row[3], get_u32(file, at + 4));
    expect_number(row[4], get_u32(file, at + 20));
    expect_number(row[5], get_u32(file, at + 24) & 0xFFFF);
    expect_number(row[6], get_u32(file, at + 24) >> 16);
    expect_number(row[7], get_u32(file, at + 16));
    // Behind a gap that takes most of the column the number is cut.
    if (row[0].find('*') == std::string_view::npos)
        expect_number(row[0], get_u32(file, at + 12));
    expect(number_in<int32_t>(row[8]).has_value(), "a delay is a number");
    return at;
}

bool is_verdict(std::string_view line) {
    return line == "Well done :)" || line == "IT IS a POOR FILE :(";
}

void expect_table(const bytes& file, std::string_view report) {
    std::optional<uint32_t> before;
    for (const std::string_view line : table_lines(report)) {
        const std::vector<std::string_view> row = split(line, '\t');
        if (row.size() == columns) {
            const uint32_t address = expect_row(file, row);
            expect(!before || *before < address, "rows go forward");
            before = address;
        } else {
            expect(is_verdict(line), "what is no row is a verdict");
        }
    }
}

// The verdict is about the end of the file alone.
void expect_verdict(const bytes& file, std::string_view report) {
    const bool has_trailer = file.size() >= 8 && get_u32(file, file.size() - 8) == KMR_INDEX_MAGIC;
    for (const std::string_view line : table_lines(report))
        if (is_verdict(line))
            expect((line == "Well done :)") == has_trailer, "the verdict goes by the trailer");
}

} // namespace

void run(input data) {
    const bytes file(data.begin(), data.end());
    if (is_too_much(work_bound::report(file)))
        return;
    constexpr uint32_t full = KMR_OPTION_ALL | KMR_OPTION_USER_DATA | KMR_OPTION_INDEX;
    const std::string whole = report_of(file, full);
    // Without the detail of the index no text of the file stands behind the heading, and nothing leads the walk back.
    const std::string table = report_of(file, KMR_OPTION_MISSING_FRAMES | KMR_OPTION_I_FRAMES);
    expect_table(file, table);
    expect_verdict(file, table);
    if (data.size() % 8 == 0)
        expect(report_of(file, full) == whole, "the same recording gives the same report");
}

std::vector<seed> seeds() {
    return seed_recordings();
}

} // namespace fuzz
