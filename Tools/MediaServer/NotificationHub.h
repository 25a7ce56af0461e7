// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>

/// How a notification stream comes to its end.
enum class StreamEnd {
    Open,  ///< it has not ended
    Clean, ///< as a complete response
    Cut,   ///< the connection closes in the middle of the response
    Reset, ///< the connection is reset
};

/// Hands every message to every notification stream, in the order of publication.
///
/// A stream belongs to the connection thread that serves it: that thread subscribes, waits for
/// bytes, writes them, and says when it has. Publishers never wait for a client; they only append
/// to its bytes. A client that does not read is cut off when 256 MiB have gathered. One mutex
/// guards all of it and is never held while bytes are written or another lock is taken.
class NotificationHub
{
public:
    class Stream
    {
        friend class NotificationHub;
        std::string waiting;
        StreamEnd end = StreamEnd::Open;
        bool writing = false;
    };
    using Subscription = std::list<Stream>::iterator;

    /// A stream that begins with `firstFrame`.
    [[nodiscard]] Subscription subscribe(std::string firstFrame);
    void unsubscribe(Subscription stream);

    /// Waits for bytes to write and takes them; they count as being written until the next call.
    /// Returns how the stream goes on; bytes that came before its end are handed out first.
    [[nodiscard]] StreamEnd next(Subscription stream, std::string &bytes,
                                 std::chrono::milliseconds patience);

    void publish(const std::string &frame);

    /// Waits until all that was published is written to all streams, or until patience ends.
    void drain(std::chrono::milliseconds patience);

    /// Ends the streams that are open now.
    void endStreams(StreamEnd how);

    /// Waits until no stream is left, or until patience ends.
    void waitForNoStream(std::chrono::milliseconds patience);

private:
    std::mutex mutex;
    std::condition_variable published;
    std::condition_variable written;
    std::list<Stream> streams;
};
