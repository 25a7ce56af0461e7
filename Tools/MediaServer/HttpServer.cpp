// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/HttpServer.h"

#include "MediaServer/SocketStream.h"

#include <limits>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr auto idleLimit = 300s;
constexpr int backlog = 512;

thread_local socket_t servedSocket = INVALID_SOCKET;
thread_local bool closeRequested = false;

/// One detached thread for each task; `shutdown` waits for all of them.
class ThreadPerTask final : public httplib::TaskQueue
{
public:
    void enqueue(std::function<void()> task) override
    {
        {
            const std::lock_guard lock(mutex);
            ++running;
        }
        std::thread([this, task = std::move(task)] {
            task();
            const std::lock_guard lock(mutex);
            --running;
            ended.notify_all();
        }).detach();
    }

    void shutdown() override
    {
        std::unique_lock lock(mutex);
        ended.wait(lock, [this] { return running == 0; });
    }

private:
    std::mutex mutex;
    std::condition_variable ended;
    int running = 0;
};

} // namespace

HttpServer::HttpServer()
{
    new_task_queue = [] { return new ThreadPerTask; };
    set_tcp_nodelay(true);
    set_keep_alive_max_count(std::numeric_limits<int>::max());
    set_keep_alive_timeout(std::chrono::seconds(idleLimit).count());
    set_read_timeout(SocketStream::timeout);
    set_write_timeout(SocketStream::timeout);
    set_socket_options([this](socket_t socket) {
        const int enable = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &enable, sizeof enable);
        listener = socket;
    });
}

bool HttpServer::bind(const std::string &address, int port)
{
    return bind_to_port(address, port) && ::listen(listener, backlog) == 0;
}

void HttpServer::shutDown()
{
    if (shuttingDown.exchange(true))
        return;
    // Ends the accept loop of the HTTP library, which closes the socket, even before it starts.
    ::shutdown(listener, SHUT_RDWR);
    const std::lock_guard lock(mutex);
    for (const socket_t connection : connections)
        ::shutdown(connection, SHUT_RD);
}

void HttpServer::resetConnection()
{
    const linger now{.l_onoff = 1, .l_linger = 0};
    setsockopt(servedSocket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    // Connecting to AF_UNSPEC resets the connection at once. Closing the socket would, too, but
    // the HTTP library shuts it down first, which looks like a clean end to the client.
    const sockaddr unspecified{.sa_family = AF_UNSPEC, .sa_data = {}};
    ::connect(servedSocket, &unspecified, sizeof unspecified);
}

void HttpServer::closeAfterResponse()
{
    closeRequested = true;
}

bool HttpServer::process_and_close_socket(socket_t socket)
{
    {
        const std::lock_guard lock(mutex);
        connections.insert(socket);
    }
    servedSocket = socket;
    SocketStream stream(socket);
    bool good = true;
    bool closed = false;
    closeRequested = false;
    while (good && !closed && !closeRequested && !shuttingDown && stream.waitForBytes(idleLimit)) {
        good = process_request(stream, false, closed, [](httplib::Request &request) {
            request.headers.erase("Accept-Encoding");
        });
    }
    if (closeRequested)
        stream.finish();
    const std::lock_guard lock(mutex);
    connections.erase(socket);
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return good;
}
