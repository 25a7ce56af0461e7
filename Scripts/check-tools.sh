#!/usr/bin/env bash
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Runs analysis tools on Sources and brenvokactl: clang-tidy, clazy and cppcheck on the code, the thread sanitizer
# on the tests of the log, valgrind on a selection of tests. Installs missing packages and prints a
# line for each tool; their output is in build/tools. Exits with 0 only if all are clean. Arguments
# select tools: clang-tidy clazy cppcheck threads valgrind
set -uo pipefail
cd "$(dirname "$0")/.."

Scripts/install-packages.sh clang clang-tidy clazy cppcheck valgrind || exit 1

logs=build/tools
mkdir -p "$logs"
jobs=$(nproc)
source Scripts/build.sh
mapfile -t sources < <(git ls-files --cached --others --exclude-standard 'Sources/*.cpp' 'Tools/Brenvokactl/*.cpp')

# Creates the compilation database and the headers of the forms, which the build would create only
# while it compiles the libraries.
prepare_sources() {
    local form uic
    uic=$(qmake6 -query QT_HOST_LIBEXECS)/uic
    cmake --preset tidy || return
    for form in Sources/*/*.ui; do
        "$uic" "$form" -o "build/tidy/${form%/*}/ui_$(basename "$form" .ui).h" || return
    done
}

clang_tidy() {
    prepare_sources >/dev/null &&
        printf '%s\0' "${sources[@]}" |
        xargs -0 -P "$jobs" -n 1 clang-tidy -p build/tidy --quiet '--warnings-as-errors=*'
}

clazy() {
    prepare_sources >/dev/null || return
    # strict-iterators: in Qt 6 `erase` takes const iterators, and the compiler reports the other
    # cases (QT_STRICT_ITERATORS). qstring-ref: Qt 6 has no QStringRef.
    printf '%s\0' "${sources[@]}" |
        CLAZY_HEADER_FILTER="$PWD/(Sources|Tools)/.*" xargs -0 -P "$jobs" -n 8 \
            clazy-standalone -p build/tidy -checks=level0,level1,no-strict-iterators,no-qstring-ref 2>&1 |
        tee "$logs/clazy.found" &&
        # Not all versions exit with an error when they have found something.
        ! grep -qE 'warning:|error:' "$logs/clazy.found"
}

cppcheck_sources() {
    # Its description of Qt does not have this macro.
    cppcheck --quiet -j "$jobs" --language=c++ --std=c++20 --library=qt -I Sources \
        '-DQ_DISABLE_COPY_MOVE(Class)=' --enable=warning,performance,portability \
        --suppressions-list=Scripts/cppcheck-suppressions.txt --error-exitcode=1 Sources Tools/Brenvokactl
}

threads() {
    local tests=(tst_ZorLog tst_LogHistory tst_LogLevels tst_DebuggerSink)
    build threads --target "${tests[@]}" &&
        TSAN_OPTIONS=suppressions=$PWD/Scripts/threads-suppressions.txt ctest --preset threads --tests-regex "^($(IFS='|' && echo "${tests[*]}"))\$"
}

memory() {
    local tests=(
        tst_Server tst_Library tst_LibraryComparison tst_SyncPlan tst_ApplicationModel tst_Settings
        tst_Announcement tst_ZorLog tst_StreamFraming tst_ResultDocument tst_CommandBodies
        tst_OneShotBody tst_DeletionDelay tst_HandlerLifecycle tst_HandlerUpload tst_ThumbnailService
        tst_ErrorMessageDialog
    )
    local test program found=0
    build release --target "${tests[@]}" || return
    for test in "${tests[@]}"; do
        program=$(find build/release/Tests -name "$test" -type f -executable)
        echo "== $test"
        # With a seed, Qt's hash of a short text also reads bytes that are beside it.
        QT_HASH_SEED=0 QT_QPA_PLATFORM=offscreen valgrind --quiet --error-exitcode=1 --num-callers=40 \
            --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite \
            --suppressions=Scripts/valgrind-suppressions.txt "$program" -silent || found=1
    done
    return $found
}

failed=0
# check NAME FUNCTION
check() {
    local name=$1 start=$SECONDS result=clean
    shift
    "$@" >"$logs/$name.log" 2>&1 || {
        result="not clean, see $logs/$name.log"
        failed=1
    }
    echo "$name: $result ($((SECONDS - start)) s)"
}

[ $# -gt 0 ] || set -- clang-tidy clazy cppcheck threads valgrind
for tool in "$@"; do
    case $tool in
        clang-tidy) check "$tool" clang_tidy ;;
        clazy) check "$tool" clazy ;;
        cppcheck) check "$tool" cppcheck_sources ;;
        threads) check "$tool" threads ;;
        valgrind) check "$tool" memory ;;
        *)
            echo "Unknown tool: $tool" >&2
            exit 2
            ;;
    esac
done
exit $failed
