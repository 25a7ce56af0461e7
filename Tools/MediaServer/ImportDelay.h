// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Makes imports take a time, which can be skipped.
class ImportDelay
{
public:
    explicit ImportDelay(std::chrono::milliseconds time)
        : duration(time)
    {
    }

    /// Waits for the time of one import. False if the server ends meanwhile.
    [[nodiscard]] bool wait()
    {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, duration, [this] { return skipped || closed; });
        return !closed;
    }
    /// Waiting imports continue at once, later ones do not wait.
    void skip()
    {
        const std::lock_guard lock(mutex);
        skipped = true;
        changed.notify_all();
    }
    /// Call when the server ends: `wait` returns false.
    void close()
    {
        const std::lock_guard lock(mutex);
        closed = true;
        changed.notify_all();
    }

private:
    const std::chrono::milliseconds duration;
    std::mutex mutex;
    std::condition_variable changed;
    bool skipped = false;
    bool closed = false;
};
