// Recordings mended in memory, and what they hold afterwards.
#pragma once

#include "mend/plan.hpp"
#include "tests/scan/compose.hpp"

#include <map>
#include <string>
#include <vector>

namespace mend_test {

using recording::bytes;
using scan_test::frames;
using scan_test::records;

kmr::mend::repair_plan plan_of(const bytes& file);
bytes with_changes(const bytes& file, const kmr::mend::changes& planned);
bytes mended(const bytes& file);

// "action @offset +length #frame", the frame left out where there is none.
std::vector<std::string> told(const kmr::mend::repair_plan& plan);

// What a walk over the mended file meets, one word a frame: "I1", "P2", "cover:1@1120+96" (number, stamp, length).
std::vector<std::string> walk(const bytes& file);

// The records of the ordinary frames by number, header and all.
std::map<uint32_t, bytes> frames_by_number(const bytes& file);

struct index_row {
    uint32_t time = 0;
    uint32_t position = 0;
    std::string tag = {};
    bool operator==(const index_row&) const = default;
};
std::vector<index_row> index_rows(const bytes& file);

// Damage.
void overwrite(bytes& file, size_t offset, size_t length, uint8_t value = 0x5A);
bytes cut(const bytes& file, size_t size);
bytes inserted(const bytes& file, size_t offset, size_t length, uint8_t value = 0x5A);
bytes removed(const bytes& file, size_t offset, size_t length);

// Fails the test where a mended file is not as it must be: no errors, nothing to do a second time, each of these frames
// of `original` there, bit for bit, and no other.
void expect_mended(const bytes& original, const bytes& damaged, const std::vector<uint32_t>& kept);

} // namespace mend_test
