// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <chrono>

/// Measures how long the event loop of this thread does not run: a timer fires each millisecond,
/// and the longest time between two calls is kept. A nested event loop counts as running.
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

    void restart()
    {
        longest = 0;
        last.restart();
    }

private:
    void note() { longest = std::max(longest, last.restart()); }

    QTimer timer;
    QElapsedTimer last;
    qint64 longest = 0;
};
