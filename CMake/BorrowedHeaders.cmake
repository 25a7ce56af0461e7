# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Lets a compiler for Windows read the headers of the libraries that Debian has for itself. See
# WindowsToolchain.cmake.

# /usr/include has the headers of Linux's C library as well, so only those libraries are shown.
list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
set(borrowed ${PROJECT_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${borrowed})
foreach(library boost fmt spdlog)
    file(CREATE_LINK /usr/include/${library} ${borrowed}/${library} SYMBOLIC)
endforeach()
include_directories(SYSTEM ${borrowed})

# Qt defines these for all its users on Windows.
add_compile_definitions(UNICODE _UNICODE WIN32)

# The libraries are known only after the project has looked for them.
#
# CMake asks a shared library of Windows for its import library. There is none: this name is for the
# build's rules only, and nothing that needs it is linked.
function(brenvoka_borrow_libraries)
    get_property(targets DIRECTORY PROPERTY IMPORTED_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "SHARED_LIBRARY")
            set_target_properties(${target} PROPERTIES
                IMPORTED_IMPLIB ${PROJECT_SOURCE_DIR}/CMakeLists.txt
                IMPORTED_IMPLIB_NONE ${PROJECT_SOURCE_DIR}/CMakeLists.txt)
        endif()
    endforeach()
    # As spdlog is best built for Windows, where a user's name may be in any script.
    set_property(TARGET spdlog::spdlog APPEND PROPERTY
        INTERFACE_COMPILE_DEFINITIONS SPDLOG_WCHAR_FILENAMES)
endfunction()
cmake_language(DEFER CALL brenvoka_borrow_libraries)
