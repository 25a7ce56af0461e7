// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <ctime>

/// Measures how long the event loop of this thread does not run: a timer fires each millisecond,
/// and the longest time between two calls is kept. A nested event loop counts as running. Other
/// programs make that time longer on a busy machine, but not the processor time.
class LoopWatch final : public QObject
{
public:
    LoopWatch()
    {
        connect(&timer, &QTimer::timeout, this, &LoopWatch::note);
        timer.setTimerType(Qt::PreciseTimer);
        timer.start(std::chrono::milliseconds(1));
        last.start();
    }

    /// In milliseconds, since the construction or the last `restart`. Includes a gap that has not
    /// ended yet.
    [[nodiscard]] qint64 longestGap() const { return std::max(longest, last.elapsed()); }

    /// The most processor time of this thread between two calls, in milliseconds.
    [[nodiscard]] qint64 longestWork() const
    {
        return std::max(longestUse, processorTime() - lastUse);
    }

    /// Both figures as a text.
    [[nodiscard]] QString figures() const
    {
        return QStringLiteral("longest stop %1 ms (processor %2 ms)")
            .arg(longestGap())
            .arg(longestWork());
    }

    void restart()
    {
        longest = longestUse = 0;
        last.restart();
        lastUse = processorTime();
    }

private:
    void note()
    {
        longest = std::max(longest, last.restart());
        const qint64 use = processorTime();
        longestUse = std::max(longestUse, use - lastUse);
        lastUse = use;
    }

    static qint64 processorTime()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return qint64{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
    }

    QTimer timer;
    QElapsedTimer last;
    qint64 longest = 0;
    qint64 lastUse = processorTime();
    qint64 longestUse = 0;
};
