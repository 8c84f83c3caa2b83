# What cmake/hardening.cmake asks for is there in every program, module and library that is built.
set(check_hardening ${CMAKE_CURRENT_LIST_DIR}/check_hardening)
if(NOT CMAKE_CROSSCOMPILING)
    add_test(NAME hardening_check COMMAND ${CMAKE_CURRENT_LIST_DIR}/check_hardening_test ${CMAKE_C_COMPILER}
                                          ${CMAKE_READELF} ${CMAKE_NM} ${CMAKE_OBJDUMP})
endif()
if(NOT KMR_HARDENING)
    return()
endif()

set(built kmr_viewer znfs sznfs kmr_library kmr_make)
if(TARGET kmr)
    list(APPEND built kmr)
endif()
# What copies into room whose size the compiler sees.
set(copying ${built})
list(REMOVE_ITEM copying sznfs)
foreach(list built copying)
    list(TRANSFORM ${list} REPLACE "(.+)" "$<TARGET_FILE:\\1>")
endforeach()

add_test(NAME hardened_loading COMMAND ${check_hardening} loading ${CMAKE_READELF} ${built})
add_test(NAME hardened_stack COMMAND ${check_hardening} stack ${CMAKE_NM} ${built})
if(KMR_LANDS_ON)
    add_test(NAME hardened_jumps COMMAND ${check_hardening} jumps ${CMAKE_OBJDUMP} ${KMR_LANDS_ON} ${built})
endif()
if(KMR_LIBC_IS_GLIBC AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$") # other libcs have none
    add_test(NAME hardened_copies COMMAND ${check_hardening} copies ${CMAKE_NM} ${copying})
endif()
