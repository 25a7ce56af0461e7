// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Check.h"
#include "DiscoverySocketFixture.h"

#include <ws2tcpip.h>

#include <string>

namespace {

sockaddr_in ipv4(const char *address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address, &result.sin_addr);
    return result;
}

/// A socket with exclusive use of its port that sends to the discovery port.
class Sender
{
public:
    explicit Sender(const char *address = "127.0.0.1", std::uint16_t port = 0)
        : socket(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP))
    {
        const BOOL on = TRUE;
        setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char *>(&on),
                   sizeof on);
        const sockaddr_in local = ipv4(address, port);
        bound = bind(socket, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0;
        CHECK(bound);
    }
    ~Sender() { closesocket(socket); }
    Sender(const Sender &) = delete;
    Sender &operator=(const Sender &) = delete;

    [[nodiscard]] sockaddr_in address() const
    {
        sockaddr_in result{};
        int length = sizeof result;
        CHECK(getsockname(socket, reinterpret_cast<sockaddr *>(&result), &length) == 0);
        return result;
    }

    void send(const std::string &datagram) const
    {
        const sockaddr_in receiver = ipv4("127.0.0.1", Discovery::port);
        const int size = static_cast<int>(datagram.size());
        CHECK(sendto(socket, datagram.data(), size, 0,
                     reinterpret_cast<const sockaddr *>(&receiver), sizeof receiver) == size);
    }

private:
    SOCKET socket;
    bool bound = false;
};

/// The bytes of an announcement: uuid bytes 01 to 10 (hexadecimal), mask 255.255.255.0.
std::string announcement(const std::string &name = "Stage left", char type = 1)
{
    std::string datagram{0, 0, 0, type};
    datagram += std::string(20, '\xEE');
    datagram += "\x01\x02\x03\x04\x05\x06\x07\x08";
    datagram += name + std::string(84 - name.size(), '\0');
    datagram += std::string("\x00\xFF\xFF\xFF", 4);
    datagram += "\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10";
    return datagram;
}

/// Waits until there is something to read, then polls.
bool pollNext(Discovery::DiscoverySocket &socket)
{
    const auto handle = static_cast<SOCKET>(socket.socket);
    fd_set readable{};
    FD_SET(handle, &readable);
    timeval timeout{30, 0};
    CHECK(select(0, &readable, nullptr, nullptr, &timeout) == 1);
    return Discovery::poll(socket);
}

void openFailsWithoutWinsock()
{
    const DiscoverySocketFixture socket;
    CHECK(socket.lastError == -1);
    CHECK(socket.lastSocketError == WSANOTINITIALISED);
    CHECK(socket.socket == 0);
}

void opensOnPort3001OfEveryInterface()
{
    const DiscoverySocketFixture socket;
    CHECK(socket.lastError == 0);
    CHECK(socket.lastSocketError == 0);
    CHECK(socket.socket > 0);
    sockaddr_in actual{};
    int length = sizeof actual;
    CHECK(getsockname(static_cast<SOCKET>(socket.socket), reinterpret_cast<sockaddr *>(&actual),
                      &length) == 0);
    CHECK(ntohs(actual.sin_port) == 3001);
    CHECK(ntohl(actual.sin_addr.s_addr) == INADDR_ANY);
}

void twoSocketsShareThePort()
{
    const DiscoverySocketFixture first;
    const DiscoverySocketFixture second;
    CHECK(second.lastError == 0);
    CHECK(second.socket > 0);
}

// For a port in exclusive use Windows reports WSAEACCES, and Wine the error of Linux.
void exclusivelyUsedPortIsAnErrorAndLeavesTheSocketOpen()
{
    const Sender exclusive("0.0.0.0", Discovery::port);
    const DiscoverySocketFixture socket;
    CHECK(socket.lastError == -2);
    CHECK(socket.lastSocketError == WSAEACCES || socket.lastSocketError == WSAEADDRINUSE);
    CHECK(socket.socket > 0);
}

void emptySocketLeavesTheErrorUntouched()
{
    DiscoverySocketFixture socket;
    CHECK(!Discovery::poll(socket));
    CHECK(socket.lastError == 0);
    socket.lastError = -42;
    socket.lastSocketError = 42;
    CHECK(!Discovery::poll(socket));
    CHECK(socket.lastError == -42);
    CHECK(socket.lastSocketError == 42);
    CHECK(socket.datagramsReceived == 0);
}

void announcementIsReadCompletely()
{
    DiscoverySocketFixture socket;
    const Sender sender;
    sender.send(announcement("B\xC3\xBChne"));
    CHECK(pollNext(socket));
    CHECK(socket.lastError == 0);
    CHECK(socket.datagramsReceived == 1);
    CHECK(socket.bytesReceived == 128);
    CHECK(Discovery::serverCount(socket) == 1);
    const Discovery::DiscoveredServer &server = socket.servers[0];
    CHECK(server.source.sin_addr.s_addr == sender.address().sin_addr.s_addr);
    CHECK(server.source.sin_port == sender.address().sin_port);
    CHECK(Discovery::name(server) == "B\xC3\xBChne");
    CHECK(server.netmask == 0x00FFFFFF);
    for (std::size_t index = 0; index < server.uuid.size(); ++index)
        CHECK(server.uuid[index] == index + 1);
    CHECK(server.seen);
}

// Each address has one entry for all its ports. All senders use 127.0.0.1, since Wine binds no
// other loopback address.
void pollEndsWithTheLastOrAForeignDatagram()
{
    DiscoverySocketFixture socket;
    const Sender first;
    const Sender second;
    first.send(announcement());
    CHECK(pollNext(socket));
    second.send(announcement("other name"));
    CHECK(pollNext(socket));
    CHECK(!Discovery::poll(socket));
    CHECK(Discovery::allNames(socket) == std::vector<std::string>{"Stage left"});

    Discovery::resetTable(socket);
    first.send(announcement("", 2));
    CHECK(!pollNext(socket));
    first.send(announcement().substr(0, 127));
    CHECK(!pollNext(socket));
    first.send("");
    CHECK(!pollNext(socket));
    CHECK(Discovery::serverCount(socket) == 0);
    CHECK(socket.datagramsReceived == 5);
    CHECK(socket.bytesReceived == 3 * 128 + 127);
    CHECK(socket.lastError == 0);
}

void datagramOf(std::size_t size, int error)
{
    DiscoverySocketFixture socket;
    const Sender sender;
    sender.send(announcement() + std::string(size - 128, '\0'));
    CHECK(pollNext(socket) == (error == 0));
    CHECK(socket.lastError == error);
    CHECK(socket.lastSocketError == (error == 0 ? 0 : WSAEMSGSIZE));
    CHECK(socket.datagramsReceived == (error == 0 ? 1 : 0));

    // The rest of the oversized datagram is gone, so the next one is read from its start.
    Discovery::resetTable(socket);
    sender.send(announcement("next"));
    CHECK(pollNext(socket));
    CHECK(Discovery::allNames(socket) == std::vector<std::string>{"next"});
}

void oversizedDatagramIsAnError()
{
    datagramOf(1024, 0);
    datagramOf(1025, -3);
    datagramOf(1026, -3);
    datagramOf(9000, -3);
}

void closedSocketRecordsAnErrorEachTime()
{
    DiscoverySocketFixture socket;
    const int handle = socket.socket;
    Discovery::close(socket);
    CHECK(socket.socket == 0);
    CHECK(closesocket(static_cast<SOCKET>(handle)) != 0);
    CHECK(WSAGetLastError() == WSAENOTSOCK);
    for (int call = 0; call < 2; ++call) {
        socket.lastError = 0;
        CHECK(!Discovery::poll(socket));
        CHECK(socket.lastError == -5);
    }
}

void brokenSocketRecordsTheSystemsError()
{
    DiscoverySocketFixture socket;
    closesocket(static_cast<SOCKET>(socket.socket));
    CHECK(!Discovery::poll(socket));
    CHECK(socket.lastError == -3);
    CHECK(socket.lastSocketError == WSAENOTSOCK);
    socket.socket = 0;
}

} // namespace

/// The discovery socket on Winsock.
int main()
{
    RUN(openFailsWithoutWinsock);
    WSADATA data;
    CHECK(WSAStartup(MAKEWORD(2, 2), &data) == 0);

    RUN(opensOnPort3001OfEveryInterface);
    RUN(twoSocketsShareThePort);
    RUN(exclusivelyUsedPortIsAnErrorAndLeavesTheSocketOpen);
    RUN(emptySocketLeavesTheErrorUntouched);
    RUN(announcementIsReadCompletely);
    RUN(pollEndsWithTheLastOrAForeignDatagram);
    RUN(oversizedDatagramIsAnError);
    RUN(closedSocketRecordsAnErrorEachTime);
    RUN(brokenSocketRecordsTheSystemsError);
    return Check::result();
}
