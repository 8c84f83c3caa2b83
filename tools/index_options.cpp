#include "tools/option_table.hpp"

#include "analyse/format/index_block.h"
#include "tools/compose/text_values.hpp"

namespace {

using namespace compose;

constexpr option_row index_rows[] = {
    {"tag", "N=TEXT", "tag of index record N, up to 64 bytes; 64 leave no room for the terminator",
     [](request& to, const std::string& v) {
         const auto [number, text] = split_pair(v, '=');
         to.recording.index.tags.emplace_back(parse_u32(number),
                                              parse_text(text, sizeof(kmr_index_record::TagName)));
     }},
    {"record-field", "N.FIELD=VALUE",
     "any field of index record N: TimeNow, IPos, Sign, VideoWidth, VideoHeight",
     [](request& to, const std::string& v) {
         const auto [number, patch] = split_pair(v, '.');
         to.recording.index.records.emplace_back(parse_u32(number),
                                                 parse_field_patch(patch, index_record_fields));
     }},
    {"no-index", nullptr, "unfinished: neither index nor trailer",
     [](request& to, const std::string&) { to.recording.index.written = false; }},
    {"no-trailer", nullptr, "unfinished: the index without its last 8 bytes",
     [](request& to, const std::string&) { to.recording.index.has_trailer = false; }},
    {"trailer-magic", "N", "wrong: in place of 0x0123abcd",
     [](request& to, const std::string& v) { to.recording.index.trailer_magic = parse_u32(v); }},
    {"trailer-length", "BYTES", "wrong: length of the index block",
     [](request& to, const std::string& v) { to.recording.index.trailer_length = parse_u32(v); }},
    {"index-field", "FIELD=VALUE",
     "wrong: RecordCount, RecordSize, MemoryNum or a frame header field of the\n"
     "index head",
     [](request& to, const std::string& v) {
         to.recording.index.head.push_back(parse_field_patch(v, index_head_fields));
     }},
    {"index-noise", "SEED", "wrong: the whole index head is noise",
     [](request& to, const std::string& v) { to.recording.index.head_noise = parse_u32(v); }},
};

void append_entries(request& to, std::vector<index_file_entry> more) {
    to.index_entries.insert(to.index_entries.end(), more.begin(), more.end());
}

constexpr option_row index_file_rows[] = {
    {"record", "CHANNEL,KIND,TIME,NAME,PATH",
     "one record; TIME in seconds since 1970, NAME of up to 104 bytes, PATH of\n"
     "up to 68",
     [](request& to, const std::string& v) { append_entries(to, {parse_index_file_entry(v)}); }},
    {"records", "LIST", "a file with one such record per line; lines that begin with # do not count",
     [](request& to, const std::string& v) { append_entries(to, read_index_file_list(v)); }},
    {"made-up-records", "COUNT:TIME:STEP", "so many records from TIME on, STEP seconds apart",
     [](request& to, const std::string& v) { append_entries(to, make_up_index_file_entries(v)); }},
};

} // namespace

const option_group index_options = {"Index of the I-frames", index_rows};
const option_group index_file_options = {"Records of an index file, in the order given", index_file_rows};
