// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// The time that imports take, which can be cut short.
class ImportPause
{
public:
    explicit ImportPause(std::chrono::milliseconds time)
        : duration(time)
    {
    }

    /// Waits for as long as an import takes; false if the server ends meanwhile.
    [[nodiscard]] bool wait()
    {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, duration, [this] { return calledOff || closed; });
        return !closed;
    }
    /// From now on imports take no time; those that wait end at once.
    void callOff()
    {
        const std::lock_guard lock(mutex);
        calledOff = true;
        changed.notify_all();
    }
    /// The server ends.
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
    bool calledOff = false;
    bool closed = false;
};
