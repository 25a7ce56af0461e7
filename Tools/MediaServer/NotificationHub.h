// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>

/// How a notification stream ends.
enum class StreamEnd {
    Open,  ///< it has not ended
    Clean, ///< the response is completed
    Cut,   ///< the connection is closed in the middle of the response
    Reset, ///< the connection is reset
};

/// Sends every message to every notification stream, in the order of publication.
///
/// A stream belongs to the connection thread that serves it: that thread subscribes, waits for
/// bytes and writes them. Publishers never wait for a client; they only append to its pending
/// bytes. A client that does not read is disconnected when 256 MiB are pending. One mutex guards
/// the streams; it is never locked while bytes are written or another mutex is locked.
class NotificationHub
{
public:
    class Stream
    {
        friend class NotificationHub;
        std::string pending;
        StreamEnd end = StreamEnd::Open;
        bool writing = false;
    };
    using Subscription = std::list<Stream>::iterator;

    /// A stream that begins with `firstFrame`.
    [[nodiscard]] Subscription subscribe(std::string firstFrame);
    void unsubscribe(Subscription stream);

    /// Waits for bytes to write and takes them; until the next call they count as not written.
    /// Returns how the stream ends; `Open` while there are bytes to write or it has not ended.
    [[nodiscard]] StreamEnd next(Subscription stream, std::string &bytes,
                                 std::chrono::milliseconds timeout);

    void publish(const std::string &frame);

    /// Waits until all published messages are written to all streams, or until the timeout.
    void drain(std::chrono::milliseconds timeout);

    /// Ends the streams that are open now.
    void endStreams(StreamEnd end);

    /// Waits until all streams are unsubscribed, or until the timeout.
    void waitForNoStream(std::chrono::milliseconds timeout);

private:
    std::mutex mutex;
    std::condition_variable published;
    std::condition_variable written;
    std::list<Stream> streams;
};
