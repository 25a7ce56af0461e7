// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>

/// The HTTP server, with the limits that this protocol needs and the library does not offer:
///
/// - One thread for each connection instead of a pool: a notification stream holds its thread for
///   ever, and a pool would run out of them.
/// - Any number of requests on one connection, which stays open for five minutes of silence: a
///   client never meets a connection that is closing under its request.
/// - A backlog of 512 waiting connections.
/// - Responses are never compressed, so that streams are not held back in a compressor.
/// - The socket of the connection that a handler serves is known, so that it can be reset.
///
/// The mutex guards the set of open connections.
class HttpServer final : public httplib::Server
{
public:
    HttpServer();

    /// Binds the address and begins to listen; connections wait until `listen_after_bind` is
    /// called, which serves them until `shutDown`.
    [[nodiscard]] bool bind(const std::string &address, int port);

    /// Stops listening and ends what connections are doing. From any thread.
    void shutDown();

    [[nodiscard]] bool isShuttingDown() const { return shuttingDown; }

    /// Resets the connection that the calling thread serves: the client sees an error and not an
    /// end.
    static void resetConnection();

    /// Closes the connection that the calling thread serves when the response has been written:
    /// for requests that were not read to their end.
    static void closeAfterResponse();

private:
    bool process_and_close_socket(socket_t socket) override;

    std::mutex mutex;
    std::set<socket_t> connections;
    std::atomic<bool> shuttingDown = false;
    std::atomic<socket_t> listener = INVALID_SOCKET;
};
