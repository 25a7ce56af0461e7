// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Discovery/DiscoverySocket.h"

#include "System/StandardStreams.h"

#ifdef _WIN32
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Discovery {

namespace {

constexpr int invalidHandle = -1;

#ifdef _WIN32

constexpr int messageTooLong = WSAEMSGSIZE;

int systemError()
{
    return WSAGetLastError();
}

bool wouldBlock(int error)
{
    return error == WSAEWOULDBLOCK;
}

// Socket handles fit into 32 bits; INVALID_SOCKET becomes -1.
int createSocket()
{
    return static_cast<int>(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
}

void closeHandle(int handle)
{
    ::closesocket(static_cast<SOCKET>(handle));
}

int receive(int handle, std::span<std::uint8_t> buffer, sockaddr_in &source)
{
    int length = sizeof source;
    return ::recvfrom(static_cast<SOCKET>(handle), reinterpret_cast<char *>(buffer.data()),
                      static_cast<int>(buffer.size()), 0, reinterpret_cast<sockaddr *>(&source),
                      &length);
}

bool makeNonBlocking(int handle)
{
    u_long on = 1;
    return ::ioctlsocket(static_cast<SOCKET>(handle), static_cast<long>(FIONBIO), &on) == 0;
}

#else

constexpr int messageTooLong = EMSGSIZE;

int systemError()
{
    return errno;
}

bool wouldBlock(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

void closeHandle(int handle)
{
    ::close(handle);
}

// Non-blocking from the start: a socket that `open` could not finish is still polled, and outside
// Windows a read from a socket without a port blocks without end. A process without standard input
// may get descriptor 0, which means "closed" here.
int createSocket()
{
    const int handle = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_UDP);
    if (handle != 0)
        return handle;
    const int duplicate = ::fcntl(handle, F_DUPFD_CLOEXEC, 1);
    closeHandle(handle);
    return duplicate;
}

int receive(int handle, std::span<std::uint8_t> buffer, sockaddr_in &source)
{
    socklen_t length = sizeof source;
    return static_cast<int>(::recvfrom(handle, buffer.data(), buffer.size(), 0,
                                       reinterpret_cast<sockaddr *>(&source), &length));
}

/// Again, so that a refusal is reported as it is under Windows.
bool makeNonBlocking(int handle)
{
    const int flags = ::fcntl(handle, F_GETFL);
    return flags >= 0 && ::fcntl(handle, F_SETFL, flags | O_NONBLOCK) == 0;
}

#endif

constexpr std::uint32_t announcementType = 1;
constexpr std::size_t nameSize = 84;

bool shareAddress(int handle)
{
    const int on = 1;
    return ::setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on),
                        sizeof on) == 0;
}

bool bindTo(int handle, const sockaddr_in &address)
{
    return ::bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

void record(DiscoverySocket &socket, Error error, int systemError)
{
    socket.lastError = error;
    socket.lastSocketError = systemError;
}

/// The sum, which wraps around to negative numbers: a program that runs for weeks receives that
/// much.
std::int32_t sum(std::int32_t count, std::size_t more)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(count) +
                                     static_cast<std::uint32_t>(more));
}

std::uint32_t bigEndian(const std::uint8_t *bytes)
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return ntohl(value);
}

auto entriesInUse(auto &socket)
{
    return std::span(socket.servers).first(static_cast<std::size_t>(socket.serverCount));
}

/// Not a std::string, which would allocate.
void printSender(const sockaddr_in &source)
{
    std::array<char, 96> line;
    const int size =
        std::snprintf(line.data(), line.size(),
                      "Received discovery message from %s adding to the list of servers\n",
                      inet_ntoa(source.sin_addr));
    StandardStreams::writeAtOnce(StandardStreams::output,
                                 {line.data(), static_cast<std::size_t>(size)});
}

void apply(DiscoverySocket &socket, const DiscoveredServer &announcement)
{
    for (DiscoveredServer &server : entriesInUse(socket)) {
        if (server.source.sin_addr.s_addr == announcement.source.sin_addr.s_addr) {
            server.seen = true;
            return;
        }
    }
    if (entriesInUse(socket).size() == tableSize)
        return;
    socket.servers[static_cast<std::size_t>(socket.serverCount)] = announcement;
    ++socket.serverCount;
    printSender(announcement.source);
}

} // namespace

void init(DiscoverySocket &socket)
{
    socket.socket = 0;
    socket.lastError = NoError;
    socket.lastSocketError = 0;
    socket.datagramsReceived = 0;
    socket.bytesReceived = 0;
    socket.serverCount = 0;
}

void open(DiscoverySocket &socket)
{
    const int handle = createSocket();
    if (handle == invalidHandle)
        return record(socket, SocketFailed, systemError());
    socket.socket = handle;
    if (!shareAddress(handle))
        return record(socket, ReuseFailed, systemError());
    if (!makeNonBlocking(handle))
        return record(socket, NonBlockingFailed, systemError());

    socket.bindAddress = {};
    socket.bindAddress.sin_family = AF_INET;
    socket.bindAddress.sin_addr.s_addr = htonl(INADDR_ANY);
    socket.bindAddress.sin_port = htons(port);
    if (!bindTo(handle, socket.bindAddress))
        record(socket, BindFailed, systemError());
}

void close(DiscoverySocket &socket)
{
    if (socket.socket <= 0)
        return;
    closeHandle(socket.socket);
    socket.socket = 0;
}

bool poll(DiscoverySocket &socket)
{
    clearSeen(socket);
    if (socket.socket <= 0) {
        record(socket, NotOpen, 0);
        return false;
    }

    // One byte more than the limit: some systems cut a longer datagram without an error.
    std::array<std::uint8_t, maximumDatagram + 1> buffer;
    sockaddr_in source{};
    const int length = receive(socket.socket, buffer, source);
    if (length < 0) {
        if (const int error = systemError(); !wouldBlock(error))
            record(socket, ReceiveFailed, error);
        return false;
    }
    const auto size = static_cast<std::size_t>(length);
    if (size > maximumDatagram) {
        record(socket, ReceiveFailed, messageTooLong);
        return false;
    }

    socket.datagramsReceived = sum(socket.datagramsReceived, 1);
    socket.bytesReceived = sum(socket.bytesReceived, size);
    const auto announcement = parse(std::span(buffer).first(size), source);
    if (announcement)
        apply(socket, *announcement);
    return announcement.has_value();
}

void resetTable(DiscoverySocket &socket)
{
    socket.servers = {};
    socket.serverCount = 0;
}

void clearSeen(DiscoverySocket &socket)
{
    for (DiscoveredServer &server : socket.servers)
        server.seen = false;
}

int serverCount(const DiscoverySocket &socket)
{
    return socket.serverCount;
}

void servers(DiscoverySocket &socket, DiscoveredServer *&table, std::size_t &count)
{
    table = socket.servers.data();
    count = static_cast<std::size_t>(std::max(socket.serverCount, 0));
}

const DiscoveredServer *findByName(const DiscoverySocket &socket, const char *name)
{
    for (const DiscoveredServer &server : entriesInUse(socket)) {
        if (Discovery::name(server) == name)
            return &server;
    }
    return nullptr;
}

void seenNames(const DiscoverySocket &socket, std::vector<std::string> &names)
{
    for (const DiscoveredServer &server : entriesInUse(socket)) {
        if (server.seen)
            names.emplace_back(name(server));
    }
}

std::vector<std::string> allNames(const DiscoverySocket &socket)
{
    std::vector<std::string> names;
    for (const DiscoveredServer &server : entriesInUse(socket))
        names.emplace_back(name(server));
    return names;
}

std::string_view name(const DiscoveredServer &server)
{
    const std::string_view field(server.payload.data(), nameSize);
    return field.substr(0, field.find('\0'));
}

std::optional<DiscoveredServer> parse(std::span<const std::uint8_t> datagram,
                                      const sockaddr_in &source)
{
    if (datagram.size() < announcementSize || bigEndian(datagram.data()) != announcementType)
        return std::nullopt;

    DiscoveredServer server{};
    server.source = source;
    std::memcpy(server.payload.data(), &datagram[32], server.payload.size());
    std::memcpy(server.uuid.data(), &datagram[24], 8);
    std::memcpy(server.uuid.data() + 8, &datagram[120], 8);
    server.netmask = bigEndian(&datagram[116]);
    server.seen = true;
    return server;
}

} // namespace Discovery
