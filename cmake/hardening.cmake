# What keeps a mistake from becoming a way in: checked copies, guarded stacks, tables that nobody writes to once the program
# runs, addresses that nobody knows, stacks that are no code, and jumps that land where they may. tests/board/check_hardening
# looks for all of it in what was built.
option(KMR_HARDENING "Build programs and libraries so that a mistake in them is hard to abuse" ON)
if(NOT KMR_HARDENING OR KMR_INSTRUMENTED) # whose checks are others
    set(KMR_HARDENING OFF)
    return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

add_compile_options(-fstack-protector-strong)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Jumps, by what the processor has for them, and the instruction that they then have to land on.
set(KMR_LANDS_ON "")
foreach(guard "-fcf-protection=full endbr64" "-mbranch-protection=standard paciasp")
    separate_arguments(guard)
    list(GET guard 0 flag)
    string(MAKE_C_IDENTIFIER "KMR_HAS${flag}" has_flag)
    check_cxx_compiler_flag(${flag} ${has_flag})
    if(${has_flag})
        add_compile_options(${flag})
        list(GET guard 1 KMR_LANDS_ON)
    endif()
endforeach()

# Tables are filled before the program runs, so calls of libraries need no stubs, which would have to be landed on too. Where
# addresses take room in the code itself they stay.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    add_compile_options(-fno-plt)
endif()

# Checked copies want an optimising compiler. What the surroundings ask for gives way, so that nothing is defined twice.
# Of the next level, which also counts at run time how much room is left, a row of a report takes half as long again.
set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
if("${CMAKE_CXX_FLAGS}" MATCHES "-O[123s]")
    set(optimised 1)
endif()
add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
