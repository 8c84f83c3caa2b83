# A 32-bit ARM Linux board. One variable says with whose tools:
#
#   cmake --toolchain cmake/toolchains/arm-linux.cmake -DKMR_CROSS_PREFIX=/opt/vendor/bin/arm-vendor-linux-gnueabi-
#
# The other toolchain files set that variable and come here. Tests run under qemu-arm where it is installed, against
# the libraries below KMR_BOARD_ROOT (the folder that has the board's lib/); the compiler's own sysroot when not set.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(KMR_CROSS_PREFIX "arm-linux-gnueabihf-" CACHE STRING "What stands before gcc and g++ in the names of the board's compilers")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KMR_CROSS_PREFIX KMR_BOARD_ROOT)

set(CMAKE_C_COMPILER ${KMR_CROSS_PREFIX}gcc)
set(CMAKE_CXX_COMPILER ${KMR_CROSS_PREFIX}g++)

# Notes about how GCC 6 passed arguments; nothing here was built with it.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

# Programs are the build machine's; libraries and headers are never looked for there.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(NOT KMR_BOARD_ROOT)
    execute_process(COMMAND ${CMAKE_C_COMPILER} -print-sysroot OUTPUT_VARIABLE KMR_BOARD_ROOT
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
list(APPEND CMAKE_FIND_ROOT_PATH ${KMR_BOARD_ROOT})

find_program(KMR_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(KMR_QEMU_ARM)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${KMR_QEMU_ARM};-L;${KMR_BOARD_ROOT}")
endif()
