# Tests that compare a build for the board with one for this machine, or look at what only a board's build has.

# --- This machine's own programs, in a build of their own ---

set(KMR_HOST_BUILD ${CMAKE_BINARY_DIR}/host-programs CACHE PATH
    "Build folder of this machine's own programs; several builds for the board may share one")
set(host_targets kmr_viewer znfs sznfs kmr_make board_services)
cmake_host_system_information(RESULT cores QUERY NUMBER_OF_LOGICAL_CORES)
include(ExternalProject)
ExternalProject_Add(host_programs
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${KMR_HOST_BUILD}
    CMAKE_ARGS -DCMAKE_BUILD_TYPE=Release
    BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> -j ${cores} --target ${host_targets}
    BUILD_ALWAYS TRUE
    INSTALL_COMMAND "")
add_dependencies(host_programs kmr_viewer board_services) # the machine's cores are for one build at a time

# --- Tests ---

add_test(NAME same_bytes_as_on_the_host
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/same_bytes
                 ${KMR_HOST_BUILD} ${CMAKE_BINARY_DIR} ${CMAKE_CROSSCOMPILING_EMULATOR})
add_test(NAME host_files_are_opened_for_more_than_2_gib
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/large_file_flags ${CMAKE_BINARY_DIR} ${CMAKE_CROSSCOMPILING_EMULATOR})

set(product_libraries kmr_vca kmr_common kmr_vfs kmr_file kmr_user_data kmr_analyse kmr_query kmr_frontend)
list(TRANSFORM product_libraries REPLACE "(.+)" "$<TARGET_FILE:\\1>")
set(libc $<IF:$<BOOL:${KMR_LIBC_IS_GLIBC}>,glibc,musl>)
add_test(NAME product_calls_nothing_narrow
         COMMAND ${check_binary} wide-calls ${CMAKE_NM} ${libc} $<TARGET_FILE:kmr_viewer> $<TARGET_FILE:znfs>
                 $<TARGET_FILE:sznfs> ${product_libraries})

# The room that the program has in a recorder's flash.
set(size_budget 65536)
if(CMAKE_BUILD_TYPE STREQUAL "MinSizeRel")
    add_test(NAME program_size
             COMMAND ${check_binary} size ${CMAKE_STRIP} $<TARGET_FILE:kmr_viewer> ${size_budget})
endif()
