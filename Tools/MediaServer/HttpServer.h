// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>

/// The HTTP server, with what this protocol needs and the HTTP library does not offer:
///
/// - One thread for each connection instead of a pool: a notification stream occupies its thread
///   until it ends, and a pool would run out of threads.
/// - Any number of requests on one connection, which is closed only after five idle minutes, so
///   that a client hardly ever sends a request on a connection that is being closed.
/// - A backlog of 512 pending connections.
/// - Responses are never compressed, so that a compressor cannot delay a stream.
/// - A handler can reset the connection that it serves.
///
/// The mutex guards the set of open connections.
class HttpServer final : public httplib::Server
{
public:
    HttpServer();

    /// Binds the address and starts to listen. `listen_after_bind` serves the connections until
    /// `shutDown` is called; connections that arrive earlier wait.
    [[nodiscard]] bool bind(const std::string &address, int port);

    /// Stops listening and ends the open connections. May be called from any thread.
    void shutDown();

    [[nodiscard]] bool isShuttingDown() const { return shuttingDown; }

    /// Resets the connection that the calling thread serves: the client sees an error instead of
    /// the end of the stream.
    static void resetConnection();

    /// Closes the connection that the calling thread serves after the response has been written.
    /// For requests that were not read completely.
    static void closeAfterResponse();

private:
    bool process_and_close_socket(socket_t socket) override;

    std::mutex mutex;
    std::set<socket_t> connections;
    std::atomic<bool> shuttingDown = false;
    std::atomic<socket_t> listener = INVALID_SOCKET;
};
