# kmr_add_test(<name> SOURCES ... [LIBS ...] [LAYER]): one test program, run as one test.
#
# Every test program runs in a working directory of its own. With LAYER that directory has ./lib with the probe
# modules, so the layer loads them there as it does at a technician's; the program is linked against module 0 too, and
# finds the same library in ./lib, or where it was built when it is run elsewhere.
function(kmr_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "LAYER" "" "SOURCES;LIBS")
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} test_support GTest::gmock GTest::gtest)
    # Built often and run once: optimising them doubles the time that a build takes, all that a debugger may want to know
    # of them does it once more. Checked copies want optimisation (an option that is there already is written a second time
    # only behind SHELL).
    target_compile_options(${name} PRIVATE -O0 SHELL:-U_FORTIFY_SOURCE $<$<BOOL:${KMR_SANITIZE}>:-g1>)
    set(directory ${CMAKE_BINARY_DIR}/tests/run/${name})
    file(MAKE_DIRECTORY ${directory})
    if(arg_LAYER)
        target_link_libraries(${name} PRIVATE probe_znfs module_probe)
        add_dependencies(${name} probe_sznfs)
        set_target_properties(${name} PROPERTIES BUILD_RPATH "./lib")
        file(CREATE_LINK ${CMAKE_BINARY_DIR}/tests/fakes/lib ${directory}/lib SYMBOLIC)
    endif()
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${directory})
endfunction()
