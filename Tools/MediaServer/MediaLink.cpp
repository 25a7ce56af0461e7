// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/MediaLink.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

using namespace std::chrono_literals;

MediaLink::MediaLink(qint64 bandwidth, qint64 deathAfterBytes)
    : bytesPerSecond(bandwidth)
    , dieAfterBytes(deathAfterBytes)
{
}

bool MediaLink::pass(std::size_t bytes, const std::function<bool()> &goOn)
{
    Clock::time_point done;
    {
        const std::lock_guard lock(mutex);
        passed += static_cast<qint64>(bytes);
        if (dieAfterBytes > 0 && passed >= dieAfterBytes)
            std::_Exit(EXIT_FAILURE);
        if (bytesPerSecond > 0) {
            const std::chrono::duration<double> time(static_cast<double>(bytes) /
                                                     static_cast<double>(bytesPerSecond));
            freeAgain = std::max(freeAgain, Clock::now()) +
                        std::chrono::duration_cast<Clock::duration>(time);
        }
        done = freeAgain;
    }
    return waitUntil(done, goOn);
}

bool MediaLink::pause(std::chrono::milliseconds time)
{
    return waitUntil(Clock::now() + time, {});
}

bool MediaLink::waitUntil(Clock::time_point end, const std::function<bool()> &goOn) const
{
    while (!closed && (!goOn || goOn())) {
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

std::size_t MediaLink::pieceSize() const
{
    constexpr qint64 largest = 64 * 1024;
    if (bytesPerSecond == 0)
        return largest;
    return static_cast<std::size_t>(std::clamp<qint64>(bytesPerSecond / 20, 1, largest));
}
