# Debian's hard-float ARM: packages g++-arm-linux-gnueabihf and qemu-user.
set(KMR_CROSS_PREFIX "arm-linux-gnueabihf-")
set(KMR_BOARD_ROOT "/usr/arm-linux-gnueabihf")
include(${CMAKE_CURRENT_LIST_DIR}/arm-linux.cmake)
