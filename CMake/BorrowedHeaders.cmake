# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Lets the cross compiler for Windows use the headers of Debian's own libraries. See
# WindowsToolchain.cmake.

# /usr/include also has the headers of the C library of Linux, so only these libraries are linked to.
list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
set(borrowed ${PROJECT_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${borrowed})
foreach(library boost fmt spdlog)
    file(CREATE_LINK /usr/include/${library} ${borrowed}/${library} SYMBOLIC)
endforeach()
include_directories(SYSTEM ${borrowed})

# Qt defines these on Windows for all targets that use it.
add_compile_definitions(UNICODE _UNICODE WIN32)

# Deferred, because the libraries are known only after the project's find_package calls.
#
# On Windows CMake requires the import library of a shared library. Nothing that needs one is linked,
# so any existing file will do for the rules of the build.
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
    # On Windows log paths need wide characters, since a user's name may be in any script.
    set_property(TARGET spdlog::spdlog APPEND PROPERTY
        INTERFACE_COMPILE_DEFINITIONS SPDLOG_WCHAR_FILENAMES)
endfunction()
cmake_language(DEFER CALL brenvoka_borrow_libraries)
