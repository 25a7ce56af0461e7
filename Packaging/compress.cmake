# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Compresses the files that Debian requires compressed, in the tree that CPack will pack.

file(GLOB_RECURSE texts
    ${CPACK_TEMPORARY_DIRECTORY}/*.1 ${CPACK_TEMPORARY_DIRECTORY}/changelog)
foreach(text IN LISTS texts)
    execute_process(COMMAND gzip --best --no-name ${text} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
