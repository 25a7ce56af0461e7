# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Compiles for Windows with Debian's g++-mingw-w64, and runs the tests with its wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
# The compiler's libraries are linked statically, so that Wine does not need to find them.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Debian has no Qt for this compiler. The headers of its own Qt detect the platform, so they can be
# used to compile, but the result cannot be linked with Qt.
execute_process(COMMAND c++ -print-multiarch
    OUTPUT_VARIABLE CMAKE_LIBRARY_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_PREFIX_PATH /usr)
set(CMAKE_PROJECT_Brenvoka_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/BorrowedHeaders.cmake)
