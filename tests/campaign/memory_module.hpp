// Both file-system modules of a campaign, over files in memory: every call is counted, can be made to fail, and is
// written down where it changes a file. The layer loads them as it loads any module, since the loader's calls of the
// program are led here.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace memory_module {

using recording::bytes;

// No file, nothing open, no fault, all counts 0. Files that were open are forgotten.
void reset();

// A file of that very path, whichever module serves it. The content stays where it is until reset.
bytes& put(const std::string& path, const bytes& content);
// Null when there is no such file.
const bytes* find(const std::string& path);

struct counts {
    uint64_t calls = 0;
    uint64_t bytes_read = 0;
    uint64_t bytes_written = 0;
    int refused_closes = 0;
};
counts& counted();
// Files that are open, the ones whose Close was refused included.
int open_files();

// Called when more calls are made than this; 0: no limit.
void limit(uint64_t calls, void (*beyond)());

enum class fault { negative, zero, shortened };

// The nth call from now (1-based), and every later one where it lasts, gives a negative number, or 0, or moves half of
// the bytes. Calls of start-up and of module 0 directly count too. Performed as ever are calls that move no bytes where
// these are to be shortened, and Open, Seek, Tell, Stat, Close and Unlink where a call is to give 0, which is no failure of
// theirs.
void fail(int nth, fault how, bool lasts);
// Whether the fault has met a call that it could disturb.
bool has_failed();
void heal();

// What changed a file, in the order of the calls.
struct change {
    enum class kind { write, cut, sync };
    kind what;
    std::string path;
    size_t offset = 0; // of a cut: the new size
    bytes content = {};
};
std::vector<change>& changes(); // written down while it is wanted
void write_down(bool wanted);

// Which of the two libraries the loader finds.
void set_loadable(bool module_0, bool module_1);

} // namespace memory_module
