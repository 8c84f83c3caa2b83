// The query over an index file: what is found lies in the file and in the interval, and of a file in order of time all
// that fits the question is found, in that order.
//
//   i32 start, i32 end, u8 channel, u8 kind, u8 file type, u8: an even number puts the records into order
//   the index file
#include "fuzz/byte_feed.hpp"
#include "fuzz/memory_host.hpp"
#include "fuzz/printed.hpp"
#include "fuzz/seed_recordings.hpp"
#include "tests/campaign/work_bound.hpp"
#include "vfslist16a/record_query.h"

#include <algorithm>
#include <cstring>

namespace fuzz {
namespace {

using records = std::vector<rec_query_record>;

struct question {
    int32_t start;
    int32_t end;
    uint32_t channel;
    uint32_t kind;
    int32_t type;
};

records records_of(input file) {
    if (file.size() < KMR_INDEX_FILE_HEADER_SIZE)
        return {};
    const input from = file.subspan(KMR_INDEX_FILE_HEADER_SIZE);
    records all(from.size() / KMR_INDEX_FILE_RECORD_SIZE);
    if (!all.empty())
        std::memcpy(all.data(), from.data(), all.size() * sizeof all.front());
    return all;
}

bool is_earlier(const rec_query_record& a, const rec_query_record& b) {
    return a.start_time < b.start_time;
}

void put_in_order(bytes& file) {
    records all = records_of(file);
    std::stable_sort(all.begin(), all.end(), is_earlier);
    if (!all.empty())
        std::memcpy(file.data() + KMR_INDEX_FILE_HEADER_SIZE, all.data(), all.size() * sizeof all.front());
}

bool is_picture(const rec_query_record& record) {
    const std::string_view field(record.file_name, sizeof record.file_name);
    return field.substr(0, field.find('\0')).find(".jpg") != std::string_view::npos;
}

bool fits(const rec_query_record& record, const question& asked) {
    const auto passes = [](uint8_t value, uint32_t filter) {
        return filter == REC_QUERY_ANY || value == filter;
    };
    return record.start_time >= asked.start && record.start_time < asked.end &&
           passes(record.channel, asked.channel) && passes(record.kind, asked.kind) &&
           (asked.type == REC_QUERY_ALL_FILES ||
            asked.type == (is_picture(record) ? REC_QUERY_PICTURES : REC_QUERY_VIDEOS));
}

bool is_same(const rec_query_record& a, const rec_query_record& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

records ask(const question& asked, int32_t page) {
    static rec_query_block block;
    block = {};
    block.channel_filter = asked.channel;
    block.kind_filter = asked.kind;
    block.start_time = asked.start;
    block.end_time = asked.end;
    block.file_type_filter = asked.type;
    block.page_index = page;
    expect(REC_QueryFiles(&block) == 0, "the query always answers 0");
    expect(block.total >= 0 && block.total <= REC_QUERY_MAX_RESULTS && block.returned == 0,
           "as many matches as there are, none of them by page");
    return {block.results, block.results + block.total};
}

void expect_answer(const records& all, const question& asked, const records& answer) {
    for (const rec_query_record& each : answer) {
        expect(fits(each, asked), "what is found fits the question");
        expect(std::any_of(all.begin(), all.end(), [&](const auto& one) { return is_same(one, each); }),
               "and stands in the file");
    }
    expect(answer.size() <= all.size(), "nothing is found twice");
    if (!std::is_sorted(all.begin(), all.end(), is_earlier))
        return;
    records expected;
    std::copy_if(all.begin(), all.end(), std::back_inserter(expected),
                 [&](const auto& each) { return fits(each, asked); });
    expect(std::equal(expected.begin(), expected.end(), answer.begin(), answer.end(), is_same),
           "of a file in order all that fits is found, in that order");
}

// The lines that the command line gives.
void expect_lines(const question& asked, size_t videos) {
    printed out;
    zn_cmd_Store_QueryForTool(std::to_string(asked.start).c_str(), std::to_string(asked.end).c_str());
    const std::string_view text = out.text();
    constexpr std::string_view front = "/dev/mmcblk0p2/";
    size_t lines = 0;
    for (size_t at = text.find(front); at != std::string_view::npos; at = text.find(front, at + 1))
        ++lines;
    expect(lines >= videos && (videos == 0) == text.empty(), "each video that is found has its line");
}

} // namespace

void run(input data) {
    byte_feed feed(data);
    question asked{};
    asked.start = static_cast<int32_t>(feed.u32());
    asked.end = static_cast<int32_t>(feed.u32());
    asked.channel = feed.u8();
    asked.kind = feed.u8();
    asked.type = feed.u8() % 4;
    const bool is_ordered = feed.u8() % 2 == 0;
    bytes file(feed.rest().begin(), feed.rest().end());
    if (is_ordered)
        put_in_order(file);

    memory_host::reset();
    memory_host::put("Index.dat", file);
    const records all = records_of(file);
    const records answer = ask(asked, 0);
    expect(memory_host::seeks() <= work_bound::query_calls(file.size()),
           "the query makes no more calls than its bound");
    expect_answer(all, asked, answer);
    const records again = ask(asked, 1);
    expect(std::equal(answer.begin(), answer.end(), again.begin(), again.end(), is_same),
           "another page gives the same matches");
    const question videos{asked.start, asked.end, REC_QUERY_ANY, REC_QUERY_ANY, REC_QUERY_VIDEOS};
    expect_lines(asked, ask(videos, 0).size());
    expect(*memory_host::find("Index.dat") == file, "the index file is as it was");
}

std::vector<seed> seeds() {
    const auto asking = [](uint8_t from, uint8_t to, uint8_t type, const bytes& file) {
        bytes content = {from, 0, 0, 0, to, 0, 0, 0, 255, 255, type, 1};
        recording::append(content, file);
        return content;
    };
    const bytes file = seed_index_file();
    bytes backwards = file;
    std::reverse(backwards.begin() + KMR_INDEX_FILE_HEADER_SIZE, backwards.end());
    return {{"all", asking(0, 255, REC_QUERY_ALL_FILES, file)},
            {"videos", asking(110, 170, REC_QUERY_VIDEOS, file)},
            {"pictures", asking(110, 170, REC_QUERY_PICTURES, file)},
            {"backwards", asking(0, 255, REC_QUERY_ALL_FILES, backwards)},
            {"empty", asking(0, 255, REC_QUERY_ALL_FILES, {})}};
}

} // namespace fuzz
