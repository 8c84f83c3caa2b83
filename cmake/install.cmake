# What an installation consists of, below whatever prefix it is installed to or moved to afterwards, in three components:
#
# runtime  lib/libkmr.so.1                    the library
#
# dev      include/kmr/                       the C headers, below the folders that they have here
#          lib/libkmr.so, lib/libkmr.a
#          lib/pkgconfig/kmr.pc               pkg-config --cflags --libs kmr
#          lib/cmake/kmr/                     find_package(kmr): the targets kmr::kmr and kmr::kmr_static
#          share/man/man3                     the manual of the headers
#
# tools    bin/kmr, bin/kmr_viewer, bin/kmr_make
#          lib/kmr/libznfs.so, libsznfs.so    the plain-file modules; other modules of these names may stand in their place
#          share/kmr/demo.h264                what kmr_make --demo is made of
#          share/kmr/kmr.magic                how file(1) knows a recording
#          share/mime/packages/kmr.xml        how a desktop does
#          share/man/man1, man5               the manual of the programs and of the format
#          share/bash-completion/completions, share/zsh/site-functions, share/fish/vendor_completions.d
#                                             what shells offer behind the names of the programs
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(KMR_INSTALL "Give the install target this project's programs and libraries" ${PROJECT_IS_TOP_LEVEL})
set(KMR_INSTALLED_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/kmr)
set(KMR_INSTALLED_MODULES ${CMAKE_INSTALL_LIBDIR}/kmr)
set(KMR_INSTALLED_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/kmr)

# What is installed finds its parts by how they lie to each other, and is moved with them.
foreach(folder BINDIR DATADIR INCLUDEDIR LIBDIR)
    if(KMR_INSTALL AND IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
        message(FATAL_ERROR "CMAKE_INSTALL_${folder} is a path of its own: it must lie below the prefix")
    endif()
endforeach()

# kmr_install_library(<shared> <static>): what programs are linked with.
function(kmr_install_library shared static)
    install(TARGETS ${shared} EXPORT kmr
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
    install(TARGETS ${static} EXPORT kmr ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
endfunction()

# kmr_install_header(<header>): a header that includes others as they lie to it, so that it is found by whatever way leads to
# its folder: <kmr/file_op/tags.h>, or "file_op/tags.h" where include/kmr is searched. The rest of it stays.
function(kmr_install_header header)
    set(source ${PROJECT_SOURCE_DIR}/${header})
    set(copy ${PROJECT_BINARY_DIR}/package/include/${header})
    get_filename_component(folder ${header} DIRECTORY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(READ ${source} text)
    string(REGEX MATCHALL "#include \"[^\"]+\"" includes "${text}")
    foreach(include ${includes})
        string(REGEX REPLACE ".*\"(.*)\"" "\\1" included "${include}")
        file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR}/${folder} ${PROJECT_SOURCE_DIR}/${included})
        string(REPLACE "${include}" "#include \"${path}\"" text "${text}")
    endforeach()
    file(WRITE ${copy} "${text}")
    install(FILES ${copy} DESTINATION ${KMR_INSTALLED_HEADERS}/${folder} COMPONENT dev)
endfunction()

# kmr_install_headers(<folder>...): the C headers of these folders, which are the public ones; what is C++ is internal.
function(kmr_install_headers)
    foreach(folder ${ARGN})
        file(GLOB_RECURSE headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
        foreach(header ${headers})
            kmr_install_header(${header})
        endforeach()
    endforeach()
endfunction()

# kmr_way(<variable> <from> <to>): how a folder of the installation is reached from another one.
function(kmr_way variable from to)
    file(RELATIVE_PATH path /prefix/${from} /prefix/${to})
    set(${variable} ${path} PARENT_SCOPE)
endfunction()

# kmr_from_bin(<variable> <folder>): how it is reached from the one of the programs.
function(kmr_from_bin variable folder)
    kmr_way(path ${CMAKE_INSTALL_BINDIR} ${folder})
    set(${variable} ${path} PARENT_SCOPE)
endfunction()

# kmr_install_program(<target> [MODULES]): with MODULES it is linked with a module, and finds the installed one after
# all places that it knows already.
function(kmr_install_program target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "MODULES" "" "")
    if(arg_MODULES)
        kmr_from_bin(modules ${KMR_INSTALLED_MODULES})
        set_property(TARGET ${target} APPEND PROPERTY INSTALL_RPATH "$ORIGIN/${modules}")
    endif()
    if(KMR_INSTALL)
        install(TARGETS ${target} RUNTIME COMPONENT tools)
    endif()
endfunction()

# kmr_install_descriptions(): what lets other programs know a recording when they see one.
function(kmr_install_descriptions)
    set(data ${PROJECT_SOURCE_DIR}/data)
    install(FILES ${data}/kmr.magic DESTINATION ${CMAKE_INSTALL_DATADIR}/kmr COMPONENT tools)
    install(FILES ${data}/kmr.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT tools)
endfunction()

# kmr_install_package(): the descriptions of the library for find_package and pkg-config.
function(kmr_install_package)
    set(folder ${PROJECT_BINARY_DIR}/package)
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kmr-config.cmake.in ${folder}/kmr-config.cmake
        INSTALL_DESTINATION ${KMR_INSTALLED_PACKAGE} PATH_VARS KMR_INSTALLED_MODULES)
    write_basic_package_version_file(${folder}/kmr-config-version.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${folder}/kmr-config.cmake ${folder}/kmr-config-version.cmake
            DESTINATION ${KMR_INSTALLED_PACKAGE} COMPONENT dev)
    install(EXPORT kmr NAMESPACE kmr:: FILE kmr-targets.cmake DESTINATION ${KMR_INSTALLED_PACKAGE} COMPONENT dev)

    kmr_way(prefix_from_pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig "")
    string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/kmr.pc.in ${folder}/kmr.pc @ONLY)
    install(FILES ${folder}/kmr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()
