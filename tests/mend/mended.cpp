#include "tests/mend/mended.hpp"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>

namespace mend_test {

namespace mend = kmr::mend;
namespace scan = kmr::scan;
using recording::get_u32;

namespace {

// The header's date is local time.
[[maybe_unused]] const int zone_is_set = setenv("TZ", "UTC0", 1);

} // namespace

mend::repair_plan plan_of(const bytes& file) {
    scan::memory_source source(file);
    return mend::plan_repair(source);
}

bytes with_changes(const bytes& file, const mend::changes& planned) {
    scan::memory_source source(file);
    mend::changed_source changed(source, planned);
    bytes result(changed.size());
    const scan::read_result read = changed.read_at(0, result);
    EXPECT_EQ(read.count, result.size());
    return result;
}

bytes mended(const bytes& file) {
    const mend::repair_plan plan = plan_of(file);
    EXPECT_EQ(plan.status, mend::plan_status::ready);
    return with_changes(file, plan.planned);
}

std::vector<std::string> told(const mend::repair_plan& plan) {
    std::vector<std::string> lines;
    for (const mend::region& each : plan.regions) {
        std::ostringstream line;
        line << name_of(each.action) << " @" << each.offset << " +" << each.length;
        if (each.frame)
            line << " #" << *each.frame;
        lines.push_back(line.str());
    }
    return lines;
}

namespace {

// A walk of its own, from header to header: it leans on nothing of the product.
template <typename Take>
void walk_headers(const bytes& file, Take take) {
    size_t end = file.size();
    if (file.size() >= 60 && get_u32(file, file.size() - 8) == 0x0123ABCD)
        end = file.size() - get_u32(file, file.size() - 4);
    for (size_t at = 88; at < end;) {
        ASSERT_LE(at + 32, end);
        ASSERT_EQ(get_u32(file, at), 0x02000000U) << "at " << at;
        const size_t size = get_u32(file, at + 4);
        ASSERT_GE(size, 32U);
        ASSERT_LE(at + size, end);
        take(at, size);
        at += size;
    }
}

bool is_inserted(const bytes& file, size_t at) {
    return get_u32(file, at + 28) >> 16 == 0x7788;
}

} // namespace

std::vector<std::string> walk(const bytes& file) {
    std::vector<std::string> words;
    walk_headers(file, [&](size_t at, size_t size) {
        std::ostringstream word;
        const uint32_t number = get_u32(file, at + 12);
        if (is_inserted(file, at))
            word << "cover:" << number << '@' << get_u32(file, at + 16) << '+' << size;
        else
            word << ((get_u32(file, at + 8) & 0xFF) == 0 ? 'I' : 'P') << number;
        words.push_back(word.str());
    });
    return words;
}

std::map<uint32_t, bytes> frames_by_number(const bytes& file) {
    std::map<uint32_t, bytes> found;
    walk_headers(file, [&](size_t at, size_t size) {
        if (!is_inserted(file, at))
            found[get_u32(file, at + 12)] = bytes(file.begin() + static_cast<std::ptrdiff_t>(at),
                                                  file.begin() + static_cast<std::ptrdiff_t>(at + size));
    });
    return found;
}

std::vector<index_row> index_rows(const bytes& file) {
    std::vector<index_row> rows;
    const size_t block = file.size() - get_u32(file, file.size() - 4);
    const uint32_t count = get_u32(file, block + 32);
    for (size_t at = block + 44; rows.size() < count; at += 80)
        rows.push_back({get_u32(file, at), get_u32(file, at + 4),
                        std::string(reinterpret_cast<const char*>(file.data() + at + 16))});
    return rows;
}

void overwrite(bytes& file, size_t offset, size_t length, uint8_t value) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(offset), length, value);
}

bytes cut(const bytes& file, size_t size) {
    return {file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)};
}

bytes inserted(const bytes& file, size_t offset, size_t length, uint8_t value) {
    bytes longer = file;
    longer.insert(longer.begin() + static_cast<std::ptrdiff_t>(offset), length, value);
    return longer;
}

bytes removed(const bytes& file, size_t offset, size_t length) {
    bytes shorter = file;
    const auto from = shorter.begin() + static_cast<std::ptrdiff_t>(offset);
    shorter.erase(from, from + static_cast<std::ptrdiff_t>(length));
    return shorter;
}

void expect_mended(const bytes& original, const bytes& damaged, const std::vector<uint32_t>& kept) {
    const mend::repair_plan plan = plan_of(damaged);
    ASSERT_EQ(plan.status, mend::plan_status::ready);
    const bytes file = with_changes(damaged, plan.planned);
    const scan::report after = scan_test::judge(file);
    for (const scan::finding& each : after.findings)
        EXPECT_NE(scan::kind_of(each.code).level, scan::severity::error) << scan::message_of(each);
    EXPECT_EQ(plan.errors_left, 0U);
    EXPECT_EQ(plan_of(file).status, mend::plan_status::nothing_to_do);
    const auto before = frames_by_number(original);
    const auto found = frames_by_number(file);
    std::vector<uint32_t> numbers;
    for (const auto& [number, record] : found) {
        numbers.push_back(number);
        ASSERT_TRUE(before.contains(number)) << number;
        EXPECT_EQ(record, before.at(number)) << number;
    }
    EXPECT_EQ(numbers, kept);
    EXPECT_EQ(plan.frames_kept, kept.size());
    EXPECT_EQ(recording::get_u32(file, 84), kept.size());
    EXPECT_EQ(recording::get_u32(file, 80), file.size());
}

} // namespace mend_test
