# Nobody should measure or ship an unoptimised program by leaving this unset.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

set(KMR_SANITIZE OFF CACHE STRING "ON: AddressSanitizer and UndefinedBehaviorSanitizer; thread: ThreadSanitizer")
if(KMR_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -g -O1)
    add_link_options(-fsanitize=thread)
elseif(KMR_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g -O1)
    add_link_options(-fsanitize=address,undefined)
endif()
# Such programs need the libraries of their checks too, whoever asked for them.
set(KMR_INSTRUMENTED ${KMR_SANITIZE})
if("${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize=|-fprofile-")
    set(KMR_INSTRUMENTED ON)
endif()

# Files beyond 2 GiB and times beyond 2038 on 32-bit machines too; sources that fill the platform's own records for others
# undo it.
add_compile_definitions(_GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64 KMR_WIDE_RECORDS)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# Every compiler version warns about something else: whoever only wants to build is not stopped by that.
option(KMR_WERROR "Take warnings for errors" OFF)
if(KMR_WERROR)
    add_compile_options(-Werror)
endif()
