# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Read by CPack before it builds the packages.

# Without it CPack would only print a message and omit the libraries from the dependencies.
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
if(NOT DPKG_SHLIBDEPS)
    message(FATAL_ERROR "A Debian package needs dpkg-shlibdeps (Debian: dpkg-dev, file)")
endif()
# The time of the newest file in a package: that of the commit, unless the caller sets it.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND git -C ${CPACK_BRENVOKA_SOURCE} log -1 --format=%ct
        OUTPUT_VARIABLE time RESULT_VARIABLE result OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(result STREQUAL "0")
        set(ENV{SOURCE_DATE_EPOCH} ${time})
    endif()
endif()
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish-tree.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/repack.cmake)
