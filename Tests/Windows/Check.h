// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>

/// Checks for test programs without Qt, which a cross compiler cannot link.
namespace Check {

inline int failures = 0;

inline void verify(bool condition, const char *text, const char *file, int line)
{
    if (condition)
        return;
    ++failures;
    std::printf("  %s:%d: check failed: %s\n", file, line, text);
}

/// Runs one test. Returns whether all its checks passed.
inline bool run(const char *name, void (*test)())
{
    const int before = failures;
    test();
    std::printf("%s %s\n", failures == before ? "ok  " : "FAIL", name);
    std::fflush(stdout);
    return failures == before;
}

/// The exit code of the test program.
inline int result()
{
    return failures == 0 ? 0 : 1;
}

} // namespace Check

#define CHECK(...) Check::verify((__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)
#define RUN(test) Check::run(#test, test)
