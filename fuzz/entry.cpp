// What libFuzzer and AFL++ call for every input.
#include "fuzz/target.hpp"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void expect(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::run({data, size});
    return 0;
}
