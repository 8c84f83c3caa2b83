# The host's GoogleTest where there is one; its sources (Debian: package googletest), built here, for another machine.
if(CMAKE_CROSSCOMPILING)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    target_compile_options(gtest PRIVATE -w)
    target_compile_options(gmock PRIVATE -w)
else()
    find_package(GTest REQUIRED)
endif()
