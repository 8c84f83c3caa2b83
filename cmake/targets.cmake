# The product uses no C++ run-time library: its programs and modules are linked as C programs are,
# so nothing of the C++ compiler's own implicit libraries may be added for them.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")

set(KMR_PRODUCT_OPTIONS $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics>
                        -ffunction-sections -fdata-sections)

# Where the headers are found: "file_op/tags.h" is below this folder, wherever that is.
set(KMR_INCLUDE_ROOT $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${KMR_INSTALLED_HEADERS}>)

# kmr_publish(<target>): the target is kmr::<name without "kmr_"> to projects that take this one as a folder of theirs.
function(kmr_publish target)
    string(REGEX REPLACE "^kmr_" "" name ${target})
    add_library(kmr::${name} ALIAS ${target})
endfunction()

# kmr_add_library(<target> SOURCES ... [USES ...]): one folder of the product as a static library. Its property KMR_SOURCES has
# them with their whole paths.
function(kmr_add_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_library(${target} STATIC ${arg_SOURCES})
    target_include_directories(${target} PUBLIC ${KMR_INCLUDE_ROOT})
    target_compile_options(${target} PRIVATE ${KMR_PRODUCT_OPTIONS})
    target_link_libraries(${target} PUBLIC ${arg_USES})
    list(TRANSFORM arg_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set_target_properties(${target} PROPERTIES KMR_SOURCES "${arg_SOURCES}")
    kmr_publish(${target})
endfunction()

# kmr_add_interface(<target> [USES ...]): a folder that consists of headers alone.
function(kmr_add_interface target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES")
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${KMR_INCLUDE_ROOT})
    target_link_libraries(${target} INTERFACE ${arg_USES})
    kmr_publish(${target})
endfunction()
