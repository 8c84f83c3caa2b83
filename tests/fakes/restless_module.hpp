// Both file-system modules for tests of threads: they sleep within their calls and refuse some of them. They have no lock,
// and what they keep of a file is a plain word: a lock would put the threads in an order that the layer may lack, and
// hide that from ThreadSanitizer. The layer loads them as it loads any module, since the loader's calls of the program
// are led here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace restless_module {

// A call of a module; `other` is any that has no name of its own here.
enum class operation { open, read, close, stat, file_count, directory, other, load };
constexpr size_t operation_count = 8;

// Nothing open, nothing refused, nobody looking, both libraries there. While no other thread is in a module.
void reset();

// Every nth call of the operation, counted over all threads, is refused: it does nothing and gives -1. 0: none.
void refuse(operation what, int every);
// How many calls have been refused to the calling thread.
int refused_to_me();

// Called first in every call, within the calling thread. Null: nobody.
void set_look(void (*look)(operation what));

// Which of the two libraries the loader finds.
void set_loadable(bool module_0, bool module_1);

// Files that were opened and not yet closed, and calls on files that were not open: there must be none of these.
int64_t open_files();
int64_t misdirected_calls();

// A path ends with a number, "/mnt/17" or "/dev/sda1/17": Read of the file at that path fills the buffer with it, word by
// word. A directory of module 0 with the number n has n % 3 + 1 records that begin with n.
uint32_t number_in(const char* path);

} // namespace restless_module
