# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Read with `source` from the project's folder by the scripts that build. In new build folders CMake
# uses the compiler cache, if it is installed.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD
    # The cache accepts precompiled headers only with these.
    export CCACHE_SLOPPINESS=pch_defines,time_macros
fi

# build PRESET [BUILD-OPTION...]: configures and builds; the configuration is printed if it fails
build() {
    local log=build/$1/configure.log
    mkdir -p "build/$1"
    cmake --preset "$1" >"$log" 2>&1 || {
        cat "$log"
        return 1
    }
    cmake --build --preset "$1" --parallel "$(nproc)" "${@:2}"
}
