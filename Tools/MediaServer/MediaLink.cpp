// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/MediaLink.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

using namespace std::chrono_literals;

MediaLink::MediaLink(qint64 bandwidth, qint64 deathThreshold)
    : bytesPerSecond(bandwidth)
    , dieAfterBytes(deathThreshold)
{
}

bool MediaLink::transmit(std::size_t bytes, const std::function<bool()> &keepGoing)
{
    Clock::time_point done;
    {
        const std::lock_guard lock(mutex);
        transmitted += static_cast<qint64>(bytes);
        if (dieAfterBytes > 0 && transmitted >= dieAfterBytes)
            std::_Exit(EXIT_FAILURE);
        if (bytesPerSecond > 0) {
            const std::chrono::duration<double> time(static_cast<double>(bytes) /
                                                     static_cast<double>(bytesPerSecond));
            busyUntil = std::max(busyUntil, Clock::now()) +
                        std::chrono::duration_cast<Clock::duration>(time);
        }
        done = busyUntil;
    }
    return waitUntil(done, keepGoing);
}

bool MediaLink::pause(std::chrono::milliseconds time)
{
    return waitUntil(Clock::now() + time, {});
}

bool MediaLink::waitUntil(Clock::time_point end, const std::function<bool()> &keepGoing) const
{
    while (!closed && (!keepGoing || keepGoing())) {
        const auto left = end - Clock::now();
        if (left <= 0ns)
            return true;
        std::this_thread::sleep_for(std::min<Clock::duration>(left, 20ms));
    }
    return false;
}

void MediaLink::close()
{
    closed = true;
}

std::size_t MediaLink::chunkSize() const
{
    constexpr qint64 largest = 64 * 1024;
    if (bytesPerSecond == 0)
        return largest;
    return static_cast<std::size_t>(std::clamp<qint64>(bytesPerSecond / 20, 1, largest));
}
