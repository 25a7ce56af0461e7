# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

# The compile options of all targets, and the functions that add sources and tests.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(brenvoka-build INTERFACE)
target_compile_definitions(brenvoka-build INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
    QT_STRICT_ITERATORS)
if(WIN32)
    target_compile_definitions(brenvoka-build INTERFACE
        NOMINMAX WIN32_LEAN_AND_MEAN _WINSOCK_DEPRECATED_NO_WARNINGS)
endif()
if(MSVC)
    # C5030: unknown attribute; the log uses one of GCC and clang that checks format strings.
    target_compile_options(brenvoka-build INTERFACE /W4 /wd5030 /utf-8)
else()
    target_compile_options(brenvoka-build INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        # The same bytes from every folder, in debug information too.
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
    # GCC 12 wrongly reports overlapping copies in std::string (GCC bug 105651).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(brenvoka-build INTERFACE -Wno-restrict)
    endif()
endif()
# Hardening against memory errors. The sanitizers have their own checks.
if(UNIX AND NOT APPLE AND NOT BRENVOKA_SANITIZERS)
    include(CheckPIESupported)
    check_pie_supported()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    # Some distributions define _FORTIFY_SOURCE themselves.
    target_compile_options(brenvoka-build INTERFACE
        "$<$<CONFIG:Release>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(brenvoka-build INTERFACE $<$<CONFIG:Release>:-Wl,-z,relro,-z,now>)
endif()
if(BRENVOKA_SANITIZERS)
    target_compile_options(brenvoka-build INTERFACE
        -fsanitize=${BRENVOKA_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(brenvoka-build INTERFACE -fsanitize=${BRENVOKA_SANITIZERS})
endif()
if(BRENVOKA_FUZZERS)
    target_compile_options(brenvoka-build INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(brenvoka-build INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(BRENVOKA_COVERAGE)
    target_compile_options(brenvoka-build INTERFACE --coverage)
    target_link_options(brenvoka-build INTERFACE --coverage)
endif()

# Version 1 of Qt's resource format contains no file times, so the program does not depend on them.
set(CMAKE_AUTORCC_OPTIONS --format-version 1)

# brenvoka_debug_symbols(TARGET): lets an optimised target have the debug symbols that the packages
# need. They are not part of the installed programs.
function(brenvoka_debug_symbols target)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-g>)
    endif()
endfunction()

# brenvoka_sources(TARGET FILE...): adds files of the calling folder to a target and defines the path
# of each .cpp in the form that the log expects, "..\Sources\Service\ThumbnailService".
function(brenvoka_sources target)
    foreach(file IN LISTS ARGN)
        set(source ${CMAKE_CURRENT_SOURCE_DIR}/${file})
        target_sources(${target} PRIVATE ${source})
        if(file MATCHES "\\.cpp$")
            file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR} ${source})
            string(REGEX REPLACE "\\.cpp$" "" path "${path}")
            string(REPLACE "/" "\\\\" path "../${path}")
            set_property(SOURCE ${source} TARGET_DIRECTORY ${target} APPEND PROPERTY
                COMPILE_DEFINITIONS "BRENVOKA_SOURCE_PATH=\"${path}\"")
        endif()
    endforeach()
endfunction()

# brenvoka_layer(NAME SOURCES file... [LINKS target...] [PRIVATE_LINKS target...])
# Builds the static library brenvoka-NAME from files of the calling folder.
function(brenvoka_layer name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    set(target brenvoka-${name})
    add_library(${target} STATIC)
    set_property(GLOBAL APPEND PROPERTY BRENVOKA_LAYERS ${target})
    brenvoka_sources(${target} ${arg_SOURCES})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/Sources)
    target_link_libraries(${target}
        PUBLIC ${arg_LINKS}
        PRIVATE brenvoka-build ${arg_PRIVATE_LINKS})
    brenvoka_debug_symbols(${target})
    # Explicit rules for the forms: with AUTOUIC, Ninja sees only at its next run that a form's header
    # has changed.
    list(FILTER arg_SOURCES INCLUDE REGEX "\\.ui$")
    if(arg_SOURCES)
        qt_wrap_ui(form_headers ${arg_SOURCES})
        target_sources(${target} PRIVATE ${form_headers})
        target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
    endif()
endfunction()

# brenvoka_loopback(NAME VARIABLE): sets the variable to the first three numbers of the loopback
# addresses that belong to the test program of that name only, such as "127.33.7". They depend on the
# name, so that a new test does not change those of others, which would be compiled again.
function(brenvoka_loopback name variable)
    string(MD5 hash ${name})
    string(SUBSTRING ${hash} 0 4 hash)
    set(place "0x${hash}")
    set(owner taken)
    while(owner AND NOT owner STREQUAL name)
        math(EXPR place "(${place} + 1) % (192 * 256)")
        get_property(owner GLOBAL PROPERTY BRENVOKA_LOOPBACK_${place})
    endwhile()
    set_property(GLOBAL PROPERTY BRENVOKA_LOOPBACK_${place} ${name})
    # Those below 127.16 are left to the demonstration and to programs that run without CTest.
    math(EXPR second "16 + ${place} / 256")
    math(EXPR third "${place} % 256")
    set(${variable} 127.${second}.${third} PARENT_SCOPE)
endfunction()

# Tests run in a network of their own where this system allows it; then none has to wait for another
# that needs the same port.
set(BRENVOKA_PRIVATE_NETWORK ${PROJECT_SOURCE_DIR}/Scripts/private-network.sh)
execute_process(COMMAND ${BRENVOKA_PRIVATE_NETWORK} true
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
if(NOT result STREQUAL "0")
    message(STATUS "No private networks here: tests that need the same port run one by one")
    set(BRENVOKA_PRIVATE_NETWORK)
endif()

# brenvoka_add_test(NAME COMMAND command... LABELS label... [LOCKS resource...] [TIMEOUT seconds]
#                   [ENVIRONMENT assignment...])
# Registers a command with CTest. LOCKS are the things that exist once in a network: discovery-port,
# single-instance. Tests that share one run one after the other, unless each has its own network.
function(brenvoka_add_test name)
    cmake_parse_arguments(arg "" "TIMEOUT" "COMMAND;LABELS;LOCKS;ENVIRONMENT" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    if(BRENVOKA_PRIVATE_NETWORK)
        set(arg_LOCKS)
    endif()
    brenvoka_loopback(${name} loopback)
    add_test(NAME ${name} COMMAND ${BRENVOKA_PRIVATE_NETWORK} ${arg_COMMAND})
    set_tests_properties(${name} PROPERTIES
        LABELS "${arg_LABELS}"
        RESOURCE_LOCK "${arg_LOCKS}"
        TIMEOUT ${arg_TIMEOUT}
        ENVIRONMENT "BRENVOKA_LOOPBACK=${loopback};${arg_ENVIRONMENT}")
endfunction()

# brenvoka_precompile(TARGET LIBRARY...): lets a test include precompiled headers of the Qt modules that
# these libraries use. Reading Qt's headers is most of the work of compiling a test. They hide a missing
# #include, so one preset of ./test.sh has them and the other has not.
function(brenvoka_precompile target)
    if(NOT BRENVOKA_PRECOMPILED_HEADERS)
        return()
    endif()
    set(modules core)
    if(ARGN MATCHES "brenvoka-service")
        set(modules gui)
    endif()
    if(ARGN MATCHES "brenvoka-(widgets|dialogs|tasks|look|ui|test-dialogs|test-ui)")
        set(modules widgets)
    endif()
    target_precompile_headers(${target} REUSE_FROM brenvoka-headers-${modules})
endfunction()

# brenvoka_test(NAME [LABELS label...] [LIBRARIES target...] [LOCKS resource...] [TIMEOUT seconds])
# Builds NAME.cpp of the calling folder as a Qt Test program and registers it with CTest. It links the
# layer under test and nothing above it.
function(brenvoka_test name)
    cmake_parse_arguments(arg "" "TIMEOUT" "LABELS;LIBRARIES;LOCKS" ${ARGN})
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} brenvoka-test-support brenvoka-build Qt6::Test)
    if(NOT MSVC)
        # Nobody needs the symbols of the libraries in each test program.
        target_link_options(${name} PRIVATE $<$<CONFIG:Release>:-Wl,--strip-debug>)
    endif()
    brenvoka_precompile(${name} ${arg_LIBRARIES})
    brenvoka_loopback(${name} loopback)
    target_compile_definitions(${name} PRIVATE BRENVOKA_LOOPBACK="${loopback}")
    set(environment QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES=qt.qpa.*=false
        UBSAN_OPTIONS=print_stacktrace=1)
    if(arg_TIMEOUT)
        # Qt Test ends a function after five minutes otherwise.
        list(APPEND environment QTEST_FUNCTION_TIMEOUT=${arg_TIMEOUT}000)
    endif()
    brenvoka_add_test(${name} COMMAND $<TARGET_FILE:${name}>
        LABELS ${arg_LABELS} LOCKS ${arg_LOCKS} TIMEOUT ${arg_TIMEOUT} ENVIRONMENT ${environment})
endfunction()
