// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>

/// A test program without Qt: a cross compiler has none to link.
namespace Check {

inline int failures = 0;

inline void verify(bool holds, const char *what, const char *file, int line)
{
    if (holds)
        return;
    ++failures;
    std::printf("  %s:%d: not so: %s\n", file, line, what);
}

/// Runs one test. Returns whether all that it looked at was as it should be.
inline bool run(const char *name, void (*test)())
{
    const int before = failures;
    test();
    std::printf("%s %s\n", failures == before ? "ok  " : "FAIL", name);
    std::fflush(stdout);
    return failures == before;
}

/// What `main` returns.
inline int result()
{
    return failures == 0 ? 0 : 1;
}

} // namespace Check

#define CHECK(...) Check::verify((__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)
#define RUN(test) Check::run(#test, test)
