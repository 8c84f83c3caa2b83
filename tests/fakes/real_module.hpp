// The plain-file module that a test module stands before. PROBE_PREFIX (znfs_ or sznfs_) and PROBE_REAL_MODULE (the
// library's path) come from the build: the sources that include this are compiled once per module.
#pragma once

#include "tests/fakes/probed_call.hpp"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

#define PROBE_JOIN(prefix, name) prefix##name
#define PROBE_EXPAND(prefix, name) PROBE_JOIN(prefix, name)
#define PROBE_TEXT_OF(text) #text
#define PROBE_TEXT(text) PROBE_TEXT_OF(text)
// The module's function of that name.
#define PROBED(name) PROBE_EXPAND(PROBE_PREFIX, name)

namespace {

// A function of the real module, with the type of the test module's own. Local to each source: the two test modules
// must not share the library that it remembers.
template <typename Function>
Function* real(Function*, const char* operation) {
    static void* const library = dlopen(PROBE_REAL_MODULE, RTLD_NOW | RTLD_LOCAL);
    const std::string symbol = std::string(PROBE_TEXT(PROBE_PREFIX)) + operation;
    void* const address = library == nullptr ? nullptr : dlsym(library, symbol.c_str());
    if (address == nullptr) {
        std::fprintf(stderr, "module probe: no %s in %s\n", symbol.c_str(), PROBE_REAL_MODULE);
        std::abort();
    }
    return reinterpret_cast<Function*>(address);
}

} // namespace

// Passes one call of PROBED(name) through the probe.
#define PROBE_CALL(name, shown_arguments, ...)                                                               \
    module_probe::observed(PROBE_TEXT(PROBE_PREFIX), #name, shown_arguments, [&](uint32_t most_bytes) {      \
        static_cast<void>(most_bytes);                                                                       \
        return real(&PROBED(name), #name)(__VA_ARGS__);                                                      \
    })
