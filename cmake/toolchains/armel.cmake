# Debian's soft-float ARM: packages g++-arm-linux-gnueabi and qemu-user.
set(KMR_CROSS_PREFIX "arm-linux-gnueabi-")
set(KMR_BOARD_ROOT "/usr/arm-linux-gnueabi")
include(${CMAKE_CURRENT_LIST_DIR}/arm-linux.cmake)
