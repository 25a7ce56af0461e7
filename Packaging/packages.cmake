# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# The Debian packages, made by CPack.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brenvoka)
set(CPACK_PACKAGE_VENDOR "The Brenvoka authors")
# There is no address to write to. Names under .internal are reserved for private use.
set(CPACK_PACKAGE_CONTACT "The Brenvoka authors <brenvoka@zorvik.internal>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
set(CPACK_BRENVOKA_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_COMPONENTS_ALL brenvoka tools rehearsal)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_PACKAGE_SOURCE brenvoka)
# The fastest one, because the packages are packed again.
set(CPACK_DEBIAN_COMPRESSION_TYPE zstd)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs are stripped, and their symbols are in packages of their own.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
# Empty: otherwise it would be the first line of every description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEBIAN_BRENVOKA_PACKAGE_NAME brenvoka)
set(CPACK_DEBIAN_BRENVOKA_PACKAGE_SECTION video)
# xdg-open shows the manual.
set(CPACK_DEBIAN_BRENVOKA_PACKAGE_RECOMMENDS "brenvoka-tools, xdg-utils")
set(CPACK_DEBIAN_BRENVOKA_PACKAGE_SUGGESTS brenvoka-rehearsal)
set(CPACK_DEBIAN_BRENVOKA_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/conffiles)
set(CPACK_DEBIAN_BRENVOKA_DESCRIPTION
"compare the libraries of two media servers and make them equal
Brenvoka finds the media servers of a local network by their announcements,
shows the libraries of two of them side by side, marks in each row whether
they differ, and makes one equal to the other. It also removes, moves and
uploads single visuals.
.
No media passes through the program: the destination fetches each file from
the source.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME brenvoka-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS brenvoka)
# Until 1.0.3 these files were in brenvoka.
set(CPACK_DEBIAN_TOOLS_PACKAGE_BREAKS "brenvoka (<< 1.1.0)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_REPLACES "brenvoka (<< 1.1.0)")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
"look at media servers before Brenvoka changes them
The console program brenvokactl shows why a media server is missing in the
window of Brenvoka, what differs between two libraries, and what a
synchronization would do. It saves libraries, so that they can be compared
later. It changes nothing on a server.")

set(CPACK_DEBIAN_REHEARSAL_PACKAGE_NAME brenvoka-rehearsal)
set(CPACK_DEBIAN_REHEARSAL_PACKAGE_SECTION video)
# For the labels of the drawn pictures.
set(CPACK_DEBIAN_REHEARSAL_PACKAGE_RECOMMENDS fonts-dejavu-core)
set(CPACK_DEBIAN_REHEARSAL_PACKAGE_SUGGESTS brenvoka)
set(CPACK_DEBIAN_REHEARSAL_DESCRIPTION
"media server for rehearsals with Brenvoka
The console program brenvoka-media-server is a media server with real files and
transfers. It can be filled with drawn pictures, or with the layout of a real
server and drawn pictures in place of its media, so that a show can be
rehearsed on one computer without touching the servers of the show.")
include(CPack)
