// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/SocketStream.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>

using namespace std::chrono_literals;

namespace {

short waitFor(socket_t socket, short events, std::chrono::milliseconds time)
{
    pollfd entry{.fd = socket, .events = events, .revents = 0};
    const int ready = poll(&entry, 1, static_cast<int>(time.count()));
    return ready > 0 ? entry.revents : short{0};
}

void describe(const sockaddr_in &address, std::string &ip, int &port)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    ip = text.data();
    port = ntohs(address.sin_port);
}

} // namespace

SocketStream::SocketStream(socket_t connection)
    : handle(connection)
{
}

bool SocketStream::waitForBytes(std::chrono::milliseconds time) const
{
    return !unread.empty() || (waitFor(handle, POLLIN, time) & POLLIN) != 0;
}

void SocketStream::finish()
{
    ::shutdown(handle, SHUT_WR);
    unread = {};
    std::array<char, 65536> ignored{};
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    while (std::chrono::steady_clock::now() < deadline && waitForBytes(100ms)) {
        if (recv(handle, ignored.data(), ignored.size(), 0) <= 0)
            return;
    }
}

bool SocketStream::is_readable() const
{
    return waitForBytes(0ms);
}

bool SocketStream::is_writable() const
{
    const int ready = waitFor(handle, POLLOUT | POLLRDHUP, timeout);
    return (ready & (POLLRDHUP | POLLERR | POLLHUP)) == 0 && (ready & POLLOUT) != 0;
}

ssize_t SocketStream::read(char *data, size_t size)
{
    if (!waitForBytes(timeout))
        return -1;
    if (unread.empty() && size >= received.size())
        return recv(handle, data, size, 0);
    if (unread.empty()) {
        const ssize_t count = recv(handle, received.data(), received.size(), 0);
        if (count <= 0)
            return count;
        unread = {received.data(), static_cast<size_t>(count)};
    }
    const size_t taken = std::min(size, unread.size());
    std::copy_n(unread.begin(), taken, data);
    unread.remove_prefix(taken);
    return static_cast<ssize_t>(taken);
}

ssize_t SocketStream::write(const char *data, size_t size)
{
    while (true) {
        const ssize_t sent = send(handle, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK))
            return sent;
        if (!is_writable())
            return -1;
    }
}

void SocketStream::get_remote_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getpeername(handle, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        describe(address, ip, port);
}

void SocketStream::get_local_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getsockname(handle, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        describe(address, ip, port);
}

socket_t SocketStream::socket() const
{
    return handle;
}
