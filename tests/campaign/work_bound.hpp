// How much work a file may cause, as a function of its size and of what it says about itself. docs/reliability.md
// has the reasons.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <cstdint>

namespace work_bound {

using recording::bytes;

struct bound {
    uint64_t calls; // of a module
    uint64_t bytes; // read
};

// The report without user data counts less; this is the bound of the full one.
bound report(const bytes& file);
bound repair(const bytes& file);
bound tag_service(const bytes& file);
bound copy(const bytes& file);
bound lookup(const bytes& file);

// Memory of the product in use at any time, without what the C library takes for its own streams.
uint64_t report_memory();
uint64_t repair_memory(const bytes& file);
uint64_t tag_memory(const bytes& file);

// Calls and records that a query over an index file of that size makes.
uint64_t query_calls(uint64_t size);

// What the file says about rows: the count of its index head where that head is accepted, 0 otherwise.
uint64_t rows_told(const bytes& file);
// How often the walk may come by the same frames: 1 but where the trailer leads back before a header that looks like an
// index's; then as often as FrameCount says.
uint64_t passes_told(const bytes& file);

} // namespace work_bound
