// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/NotificationHub.h"

#include <algorithm>

namespace {

constexpr std::size_t waitingLimit = 256U << 20;

} // namespace

NotificationHub::Subscription NotificationHub::subscribe(std::string firstFrame)
{
    const std::lock_guard lock(mutex);
    Stream &stream = streams.emplace_back();
    stream.waiting = std::move(firstFrame);
    return std::prev(streams.end());
}

void NotificationHub::unsubscribe(Subscription stream)
{
    const std::lock_guard lock(mutex);
    streams.erase(stream);
    written.notify_all();
}

StreamEnd NotificationHub::next(Subscription stream, std::string &bytes,
                                std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    stream->writing = false;
    written.notify_all();
    published.wait_for(lock, patience, [stream] {
        return !stream->waiting.empty() || stream->end != StreamEnd::Open;
    });
    bytes.clear();
    bytes.swap(stream->waiting);
    stream->writing = !bytes.empty();
    return bytes.empty() ? stream->end : StreamEnd::Open;
}

void NotificationHub::publish(const std::string &frame)
{
    const std::lock_guard lock(mutex);
    for (Stream &stream : streams) {
        if (stream.end != StreamEnd::Open)
            continue;
        if (stream.waiting.size() < waitingLimit)
            stream.waiting += frame;
        else
            stream.end = StreamEnd::Cut;
    }
    published.notify_all();
}

void NotificationHub::drain(std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    written.wait_for(lock, patience, [this] {
        return std::ranges::all_of(streams,
                                   [](const Stream &s) { return s.waiting.empty() && !s.writing; });
    });
}

void NotificationHub::endStreams(StreamEnd how)
{
    const std::lock_guard lock(mutex);
    for (Stream &stream : streams)
        stream.end = how;
    published.notify_all();
}

void NotificationHub::waitForNoStream(std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    written.wait_for(lock, patience, [this] { return streams.empty(); });
}
