# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Gives the trees that CPack will pack the form that Debian requires.

file(GLOB trees LIST_DIRECTORIES ON ${CPACK_TEMPORARY_DIRECTORY}/*)
foreach(tree IN LISTS trees)
    if(IS_DIRECTORY ${tree}/usr/etc)
        file(RENAME ${tree}/usr/etc ${tree}/etc)
    endif()
    file(GLOB page ${tree}/usr/share/doc/*/CHANGELOG.md)
    get_filename_component(folder ${page} DIRECTORY)
    execute_process(
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/debian-changelog.sh ${page} ${CPACK_PACKAGE_VERSION}
            ${CPACK_PACKAGE_CONTACT}
        OUTPUT_FILE ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${page})
    file(GLOB_RECURSE texts ${tree}/*.1 ${folder}/changelog)
    execute_process(COMMAND gzip --best --no-name ${texts} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
