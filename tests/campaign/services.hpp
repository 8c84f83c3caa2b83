// What users do with a recording, each with all that must hold afterwards. A check that does not hold ends the case.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <array>

namespace services {

using recording::bytes;

// Both modules loaded, once per process.
void start_layer();

// No descriptor in use but those whose Close was refused, no entry of the library, no lock held, no memory kept.
void expect_nothing_left();
// Closes what a refused Close has left open.
void close_leftovers();

struct service {
    const char* name;
    void (*run)(const bytes& recording);
};

extern const std::array<service, 5> all;

void report(const bytes& recording);
void repair(const bytes& recording);
void change_tags(const bytes& recording);
void copy_out(const bytes& recording);
void look_up(const bytes& recording);

// The query over an index file, which stands as "Index.dat" in the working directory.
void query(const bytes& index_file);

} // namespace services
