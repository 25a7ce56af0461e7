// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>

/// The link over which media travel, in both directions and for all transfers together: it can be
/// slow, and the process can die on it. Thread-safe; the mutex is not held while a caller waits.
class MediaLink
{
public:
    MediaLink(qint64 bandwidth, qint64 deathAfterBytes);

    /// Lets bytes pass, which takes as long as the bandwidth says. False as soon as the link has
    /// been closed or `goOn` says so, which is asked every few milliseconds.
    bool pass(std::size_t bytes, const std::function<bool()> &goOn = {});

    /// Holds the caller for a time. False as soon as the link has been closed.
    bool pause(std::chrono::milliseconds time);

    /// Nothing passes any more.
    void close();

    /// A size of pieces at which a slow link moves visibly and a fast one is not held up.
    [[nodiscard]] std::size_t pieceSize() const;

private:
    using Clock = std::chrono::steady_clock;

    bool waitUntil(Clock::time_point end, const std::function<bool()> &goOn) const;

    const qint64 bytesPerSecond;
    const qint64 dieAfterBytes;
    std::mutex mutex;
    Clock::time_point freeAgain;
    qint64 passed = 0;
    std::atomic<bool> closed = false;
};
