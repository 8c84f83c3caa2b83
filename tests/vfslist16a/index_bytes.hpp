// Composes index files byte by byte, and takes lists of matches apart.
#pragma once

#include "tests/support/recording_bytes.hpp"
#include "vfslist16a/record_query.h"

#include <memory>
#include <string>
#include <vector>

namespace index_bytes {

using recording::bytes;

struct entry {
    int32_t time = 0;
    std::string path = {};
    std::string name = "video.kmr";
    uint8_t channel = 1;
    uint8_t kind = 2;
};

// 184 bytes; those that have no meaning are 0xC3. Name and path are followed by a NUL where their field has room.
bytes record(const entry& of);
// The header (72 bytes 0xA5) and the records.
bytes file(const std::vector<entry>& entries);
// "p0", "p1" and so on: the paths of at_times.
std::string path_of(size_t number);
// Entries that differ in their time and path alone.
std::vector<entry> at_times(const std::vector<int32_t>& times);

// Gives the file dates of the year 2040.
void date_beyond_2038(const std::string& path);

// A block that lets every record of any time but the last second pass.
std::unique_ptr<rec_query_block> open_query();

struct list_destroy {
    void operator()(adt_dlist* list) const { adt_dlist_destroy(list); }
};
using list = std::unique_ptr<adt_dlist, list_destroy>;
list empty_list();

// The paths of the list's records from head to tail; also checks the links back and the count.
std::vector<std::string> paths(const adt_dlist* of);

} // namespace index_bytes
