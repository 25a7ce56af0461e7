# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Packs the packages that CPack has made again.

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/repack.sh ${package}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
