// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>

/// Simulates the network link for media, in both directions and for all transfers together: it
/// limits the bandwidth and can end the process. Thread-safe; callers wait without the mutex.
class MediaLink
{
public:
    /// The bandwidth is in bytes per second; 0 means no limit. The process exits with
    /// EXIT_FAILURE after `deathThreshold` bytes; 0 means never.
    MediaLink(qint64 bandwidth, qint64 deathThreshold);

    /// Waits for as long as these bytes take at the given bandwidth. False as soon as the link has
    /// been closed or `keepGoing`, which is polled every 20 ms, returns false.
    bool transmit(std::size_t bytes, const std::function<bool()> &keepGoing = {});

    /// Waits for a time. False as soon as the link has been closed.
    bool pause(std::chrono::milliseconds time);

    /// Ends all waits, also later ones.
    void close();

    /// A chunk size that is small enough for visible progress on a slow link and large enough not
    /// to slow a fast one down.
    [[nodiscard]] std::size_t chunkSize() const;

private:
    using Clock = std::chrono::steady_clock;

    bool waitUntil(Clock::time_point end, const std::function<bool()> &keepGoing) const;

    const qint64 bytesPerSecond;
    const qint64 dieAfterBytes;
    std::mutex mutex;
    Clock::time_point busyUntil;
    qint64 transmitted = 0;
    std::atomic<bool> closed = false;
};
