// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <cstdlib>

/// Aborts the program if the condition is false; libFuzzer then reports the input.
inline void require(bool condition, const char *file = __builtin_FILE(),
                    int line = __builtin_LINE())
{
    if (condition)
        return;
    std::fprintf(stderr, "%s:%d: a requirement is not met\n", file, line);
    std::abort();
}
