// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <malloc.h>

/// What this process uses, as Linux reports it; 0 if it is not available.
namespace ProcessUse {

/// Whether figures of the memory mean anything: the address sanitizer keeps freed memory.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool isMemoryMeasured = false;
#else
inline constexpr bool isMemoryMeasured = true;
#endif

/// A value of /proc/self/status in MB, such as "VmRSS".
[[nodiscard]] inline double status(const char *name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QRegularExpression line(QLatin1String(name) + QStringLiteral(":\\s+(\\d+) kB"));
    return line.match(QString::fromLatin1(file.readAll())).captured(1).toDouble() / 1024;
}

/// The memory in MB, after freed memory was returned to the system: the process could use it again
/// without a change of the figure.
[[nodiscard]] inline double memory()
{
    malloc_trim(0);
    return status("VmRSS");
}

/// The allocated part of the heap in MB, without what was freed.
[[nodiscard]] inline double allocated()
{
    const auto heap = mallinfo2();
    return double(heap.uordblks + heap.hblkhd) / (1 << 20);
}

/// Resets the peak of the memory to the current usage. Returns false if it cannot be reset.
[[nodiscard]] inline bool resetMemoryPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

/// In MB, since the start or the last reset.
[[nodiscard]] inline double memoryPeak()
{
    return status("VmHWM");
}

/// The number of open descriptors, without the one that reads it.
[[nodiscard]] inline int descriptors()
{
    const QDir open(QStringLiteral("/proc/self/fd"));
    return static_cast<int>(
               open.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size()) -
           1;
}

} // namespace ProcessUse
