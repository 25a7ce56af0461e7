# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Read by CPack before it builds a package.

if(CPACK_GENERATOR STREQUAL "DEB")
    # Without it CPack would only print a message and omit the libraries from the dependencies.
    find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
    if(NOT DPKG_SHLIBDEPS)
        message(FATAL_ERROR "A Debian package needs dpkg-shlibdeps (Debian: dpkg-dev, file)")
    endif()
    set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress.cmake)
endif()
