// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstdio>

/// The sizes and the report of the tests in Tests/Trust.
namespace Trust {

/// Whether the tests run at full size, which takes minutes. See Scripts/trust.sh.
[[nodiscard]] inline bool isFull()
{
    return qgetenv("BRENVOKA_TRUST") == "full";
}

/// The first of two sizes in the short form, the second at full size.
[[nodiscard]] inline int size(int inShort, int inFull)
{
    return isFull() ? inFull : inShort;
}

/// Prints the item's line with the measured figures.
inline void report(const char *item, const QString &figures)
{
    std::printf("trust: %s: %s\n", item, qUtf8Printable(figures));
    std::fflush(stdout);
}

} // namespace Trust
