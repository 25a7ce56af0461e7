// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/NotificationHub.h"

#include <algorithm>

namespace {

constexpr std::size_t pendingLimit = 256U << 20;

} // namespace

NotificationHub::Subscription NotificationHub::subscribe(std::string firstFrame)
{
    const std::lock_guard lock(mutex);
    Stream &stream = streams.emplace_back();
    stream.pending = std::move(firstFrame);
    return std::prev(streams.end());
}

void NotificationHub::unsubscribe(Subscription stream)
{
    const std::lock_guard lock(mutex);
    streams.erase(stream);
    written.notify_all();
}

StreamEnd NotificationHub::next(Subscription stream, std::string &bytes,
                                std::chrono::milliseconds timeout)
{
    std::unique_lock lock(mutex);
    stream->writing = false;
    written.notify_all();
    published.wait_for(lock, timeout, [stream] {
        return !stream->pending.empty() || stream->end != StreamEnd::Open;
    });
    bytes.clear();
    bytes.swap(stream->pending);
    stream->writing = !bytes.empty();
    return bytes.empty() ? stream->end : StreamEnd::Open;
}

void NotificationHub::publish(const std::string &frame)
{
    const std::lock_guard lock(mutex);
    for (Stream &stream : streams) {
        if (stream.end != StreamEnd::Open)
            continue;
        if (stream.pending.size() < pendingLimit)
            stream.pending += frame;
        else
            stream.end = StreamEnd::Cut;
    }
    published.notify_all();
}

void NotificationHub::drain(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(mutex);
    written.wait_for(lock, timeout, [this] {
        return std::ranges::all_of(streams,
                                   [](const Stream &s) { return s.pending.empty() && !s.writing; });
    });
}

void NotificationHub::endStreams(StreamEnd end)
{
    const std::lock_guard lock(mutex);
    for (Stream &stream : streams)
        stream.end = end;
    published.notify_all();
}

void NotificationHub::waitForNoStream(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(mutex);
    written.wait_for(lock, timeout, [this] { return streams.empty(); });
}
