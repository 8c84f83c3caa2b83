#include "analyse/index_report.hpp"

#include "analyse/format/index_block.h"
#include "analyse/options.h"
#include "analyse/report_state.h"
#include "analyse/rules.hpp"
#include "base/text_line.hpp"
#include "file_op/index_trailer.hpp"
#include "file_op/open_guards.hpp"

#include <cstdio>
#include <ctime>

namespace kmr {
namespace {

constexpr uint32_t detail_options = KMR_OPTION_ALL | KMR_OPTION_INDEX;

// Index times are unsigned: 2^31 and above lie behind 2038.
std::tm local_time(uint32_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

void print_head(const kmr_index_head& head) {
    std::puts(rule<89>.after_blank_line());
    std::puts("IFrameIndex Detail");
    std::puts(rule<89>.line());
    std::puts("IFrameIndex Header Infomation");
    std::puts(rule<89>.line());
    std::printf("%30s : Same as above\n", "Virual FrameHeader");
    std::printf("%30s : %d\n", "I Frame Record Num", static_cast<int32_t>(head.RecordCount));
    std::printf("%30s : %d\n", "VirualFrame Record size", static_cast<int32_t>(head.RecordSize));
    std::printf("%30s : %d\n", "Memory Num", static_cast<int32_t>(head.MemoryNum));
}

void print_body_heading() {
    std::puts(rule<121>.after_blank_line());
    std::puts("IFrameIndex Body Infomation");
    std::puts(rule<121>.line());
    std::printf("%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\t%8s\n", "Index", "TimeNow", "IPos(hex)", "FPos(hex)",
                "Sign", "VideoSize(H)", "VideoSize(W)", "TagName");
    std::puts(rule<121>.line());
}

void put_clock(text_line& line, uint32_t seconds) {
    const std::tm time = local_time(seconds);
    const int parts[] = {time.tm_hour % 24, time.tm_min, time.tm_sec};
    char separator = '[';
    for (const int part : parts) {
        line.put(separator);
        line.put_two_digits(part);
        separator = ':';
    }
    line.put(']');
}

void print_record(int32_t number, uint32_t position, const kmr_index_record& record) {
    constexpr size_t width = 8;
    text_line line;
    line.put_decimal<width>(number);
    line.put('\t');
    put_clock(line, record.TimeNow);
    line.put('\t');
    line.put_hex8(record.IPos);
    line.put('\t');
    line.put_hex8(position);
    for (const uint32_t value : {record.Sign, uint32_t{record.VideoHeight}, uint32_t{record.VideoWidth}})
        line.put_decimal<width, '\t'>(static_cast<int32_t>(value));
    line.put('\t');
    line.put_right<width>({record.TagName, strnlen(record.TagName, sizeof record.TagName)});
    line.put('\n');
    line.print();
}

struct time_range {
    uint32_t start = 0;
    uint32_t end = 0;
};

// Records behind the end of the file read as zero; the head's count decides how many rows there are. A damaged one may ask
// for thousands of millions: nobody waits for those when the rows cannot be written any more.
time_range print_records(vfs_file* file, int32_t count) {
    time_range times;
    auto position = static_cast<uint32_t>(vfs_ftell(file));
    for (int32_t i = 0; i < count && std::ferror(stdout) == 0; ++i) {
        kmr_index_record record{};
        vfs_fread(&record, 1, sizeof record, file);
        if (i == 0)
            times.start = record.TimeNow;
        if (i == count - 1)
            times.end = record.TimeNow;
        print_record(i, position, record);
        position += KMR_INDEX_RECORD_SIZE;
    }
    return times;
}

void print_tail(uint32_t body_size) {
    std::puts(rule<89>.after_blank_line());
    std::puts("IFrameIndex Tail Infomation");
    std::puts(rule<89>.line());
    std::printf("%8s\t%8s\t\n", "Flag", "VFrameSize");
    std::printf("%8x\t%8d\t\n", KMR_INDEX_MAGIC, static_cast<int32_t>(body_size));
    std::puts(rule<89>.line());
}

void print_time(const char* label, uint32_t seconds) {
    const std::tm time = local_time(seconds);
    std::printf("%s%04d/%02d/%02d %02d:%02d:%02d\n", label, time.tm_year + 1900, time.tm_mon + 1,
                time.tm_mday, time.tm_hour % 24, time.tm_min, time.tm_sec);
}

void print_times(const time_range& times) {
    print_time("KMR FileStartTime :", times.start);
    print_time("KMR FileEndTime   :", times.end);
    std::printf("KMR File Time     :%8d(s)\n", static_cast<int32_t>(times.end - times.start));
    std::puts(rule<89>.line());
}

bool read_head(vfs_file* file, uint32_t length, kmr_index_head& head) {
    return read_record(file, head) && opens_index_block(head.Frame, length);
}

void print_detail(vfs_file* file) {
    if (!find_index_trailer(file))
        return;
    uint32_t length = 0;
    seek_to_index_block(file, length);
    kmr_index_head head;
    if (!read_head(file, length, head)) {
        // Name and number are the line's text, by which people and scripts know it; they follow nothing in this
        // file. No line feed: the verdict stands behind it.
        std::printf("%s %d err", "decode_ReadFrameIndex", 252);
        return;
    }
    const uint32_t body_size = head.RecordCount * head.RecordSize;
    if (body_size == 0)
        return;
    print_head(head);
    print_body_heading();
    const time_range times = print_records(file, static_cast<int32_t>(head.RecordCount));
    print_tail(body_size);
    print_times(times);
}

} // namespace

void report_index(vfs_file* file) {
    const int32_t behind_header = vfs_ftell(file);
    if (!find_index_trailer(file)) {
        vfs_fseek(file, behind_header, SEEK_SET);
        std::puts("IT IS a POOR FILE :(");
        return;
    }
    if ((g_Opt & detail_options) != 0)
        print_detail(file);
    std::puts("Well done :)");
}

} // namespace kmr
