# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# Compiles for Windows on Debian, with its g++-mingw-w64 and, to run the result, its wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
# What a program needs of the compiler goes into it, so that Wine need not search for libraries.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Debian has no Qt for this compiler. The headers of its own one serve: they tell the platform by
# themselves. What is compiled so can't be linked with Qt.
execute_process(COMMAND c++ -print-multiarch
    OUTPUT_VARIABLE CMAKE_LIBRARY_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_PREFIX_PATH /usr)
set(CMAKE_PROJECT_Brenvoka_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/BorrowedHeaders.cmake)
