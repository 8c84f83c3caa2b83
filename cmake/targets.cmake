# The product uses no C++ run-time library: its programs and modules are linked as C programs are,
# so nothing of the C++ compiler's own implicit libraries may be added for them.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")

set(KMR_PRODUCT_OPTIONS $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics>
                        -ffunction-sections -fdata-sections)

# kmr_add_library(<target> SOURCES ... [USES ...]): one folder of the product as a static library.
function(kmr_add_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_library(${target} STATIC ${arg_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_compile_options(${target} PRIVATE ${KMR_PRODUCT_OPTIONS})
    target_link_libraries(${target} PUBLIC ${arg_USES})
endfunction()

# kmr_add_interface(<target> [USES ...]): a folder that consists of headers alone.
function(kmr_add_interface target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES")
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE ${arg_USES})
endfunction()
