# What an installation consists of, below whatever prefix it is installed to or moved to afterwards:
#
#   bin/kmr_viewer, bin/kmr_make
#   share/kmr/demo.h264                what kmr_make --demo is made of
#   share/kmr/kmr.magic                how file(1) knows a recording
#   share/mime/packages/kmr.xml        how a desktop does
#   lib/kmr/libznfs.so, libsznfs.so    the plain-file modules; other modules of these names may stand in their place
#   lib/libkmr_*.a                     the libraries
#   include/kmr/                       the C headers, below the folders that they have here
#   lib/cmake/kmr/                     find_package(kmr): the targets kmr::file, kmr::vfs, kmr::znfs and so on
#   share/man/man1, man3, man5         the manual: programs, headers, the format
#   share/bash-completion/completions, share/zsh/site-functions, share/fish/vendor_completions.d
#                                      what shells offer behind the names of the programs
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(KMR_INSTALL "Give the install target this project's programs and libraries" ${PROJECT_IS_TOP_LEVEL})
set(KMR_INSTALLED_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/kmr)
set(KMR_INSTALLED_MODULES ${CMAKE_INSTALL_LIBDIR}/kmr)
set(KMR_INSTALLED_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/kmr)

# kmr_publish(<target>): the target is kmr::<name without "kmr_"> to other projects, whether they take this one as a
# folder of theirs or installed.
function(kmr_publish target)
    string(REGEX REPLACE "^kmr_" "" name ${target})
    add_library(kmr::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
    set_property(GLOBAL APPEND PROPERTY KMR_PUBLISHED ${name})
    if(KMR_INSTALL)
        install(TARGETS ${target} EXPORT kmr ${ARGN})
    endif()
endfunction()

# kmr_install_headers(<folder>...): the C headers of these folders, which are the public ones; what is C++ is internal.
function(kmr_install_headers)
    foreach(folder ${ARGN})
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} DESTINATION ${KMR_INSTALLED_HEADERS}
                FILES_MATCHING PATTERN "*.h")
    endforeach()
endfunction()

# kmr_from_bin(<variable> <folder>): how a folder of the installation is reached from the one of the programs.
function(kmr_from_bin variable folder)
    file(RELATIVE_PATH path /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${folder})
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
        install(TARGETS ${target})
    endif()
endfunction()

# kmr_install_descriptions(): what lets other programs know a recording when they see one.
function(kmr_install_descriptions)
    set(data ${PROJECT_SOURCE_DIR}/data)
    install(FILES ${data}/kmr.magic DESTINATION ${CMAKE_INSTALL_DATADIR}/kmr COMPONENT tools)
    install(FILES ${data}/kmr.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT tools)
endfunction()

# kmr_install_package(): the description for find_package; after everything that is published.
function(kmr_install_package)
    set(folder ${PROJECT_BINARY_DIR}/package)
    get_property(KMR_PUBLISHED GLOBAL PROPERTY KMR_PUBLISHED)
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kmr-config.cmake.in ${folder}/kmr-config.cmake
        INSTALL_DESTINATION ${KMR_INSTALLED_PACKAGE} PATH_VARS KMR_INSTALLED_MODULES)
    write_basic_package_version_file(${folder}/kmr-config-version.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${folder}/kmr-config.cmake ${folder}/kmr-config-version.cmake DESTINATION ${KMR_INSTALLED_PACKAGE})
    install(EXPORT kmr NAMESPACE kmr:: FILE kmr-targets.cmake DESTINATION ${KMR_INSTALLED_PACKAGE})
endfunction()
