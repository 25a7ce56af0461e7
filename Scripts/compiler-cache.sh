# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
# Read with `source` from the project's folder by the scripts that build: CMake then uses the
# compiler cache in new build folders, if the cache is installed.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD
    # The cache accepts precompiled headers only with these.
    export CCACHE_SLOPPINESS=pch_defines,time_macros
fi
