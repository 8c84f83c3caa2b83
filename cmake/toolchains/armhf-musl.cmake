# Hard-float ARM with a small libc: the compiler of armhf.cmake, but musl's headers, start files and libc.
#
# The sysroot comes from musl/make_sysroot. Where it is, KMR_MUSL_SYSROOT says (a cache or environment variable); by
# default it is where scripts/board puts it.
get_filename_component(kmr_sysroot ${CMAKE_CURRENT_LIST_DIR}/../../build/musl-sysroot ABSOLUTE)
if(DEFINED ENV{KMR_MUSL_SYSROOT})
    set(kmr_sysroot $ENV{KMR_MUSL_SYSROOT})
endif()
set(KMR_MUSL_SYSROOT ${kmr_sysroot} CACHE PATH "Headers and libc of musl for the board")
if(NOT EXISTS ${KMR_MUSL_SYSROOT}/musl.specs)
    message(FATAL_ERROR "no musl sysroot in ${KMR_MUSL_SYSROOT}: run cmake/toolchains/musl/make_sysroot ${KMR_MUSL_SYSROOT}")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KMR_MUSL_SYSROOT)

set(KMR_CROSS_PREFIX "arm-linux-gnueabihf-")
set(KMR_BOARD_ROOT ${KMR_MUSL_SYSROOT})
include(${CMAKE_CURRENT_LIST_DIR}/arm-linux.cmake)

set(kmr_specs "-specs=${KMR_MUSL_SYSROOT}/musl.specs")
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpversion OUTPUT_VARIABLE kmr_gcc_version
                OUTPUT_STRIP_TRAILING_WHITESPACE)
set(kmr_cxx_headers /usr/arm-linux-gnueabihf/include/c++/${kmr_gcc_version})

set(CMAKE_C_FLAGS_INIT "${kmr_specs}")
# The C++ headers are those of the compiler, made for another libc: four of them are corrected first.
string(JOIN " " CMAKE_CXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}"
       "${kmr_specs}"
       "-isystem ${CMAKE_CURRENT_LIST_DIR}/musl/include"
       "-isystem ${kmr_cxx_headers}"
       "-isystem ${kmr_cxx_headers}/arm-linux-gnueabihf"
       "-isystem ${kmr_cxx_headers}/backward")
# What is linked as C++ (the tests; nothing of the product is) carries the C++ library inside, because the shared one
# needs the other libc.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "-static-libstdc++ ${KMR_MUSL_SYSROOT}/libstdcxx_on_musl.o")
