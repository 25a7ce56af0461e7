// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Discovery/DiscoverySocket.h"
#include "Input.h"
#include "Protocol/Announcement.h"
#include "Require.h"
#include "Support/Loopback.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <bit>
#include <cstdio>
#include <optional>
#include <vector>

namespace {

constexpr int senderCount = 12; // two more than fit into the table
constexpr qsizetype longestDatagram = 1024;
constexpr int datagramCount = 16;

sockaddr_in loopback(int host)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + std::uint32_t(host));
    return address;
}

int boundSocket(const sockaddr_in &address)
{
    const int handle = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    require(handle > 0);
    require(::bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0);
    return handle;
}

/// A receiver on a free port of the loopback interface, and senders with different addresses.
struct Network
{
    Network()
    {
        Discovery::init(discovery);
        discovery.socket = boundSocket(loopback(0));
        socklen_t size = sizeof receiver;
        require(::getsockname(discovery.socket, reinterpret_cast<sockaddr *>(&receiver), &size) ==
                0);
        for (int sender = 0; sender < senderCount; ++sender)
            senders.push_back(boundSocket(loopback(sender)));
    }

    void send(int sender, const QByteArray &datagram) const
    {
        require(::sendto(senders[std::size_t(sender)], datagram.constData(),
                         std::size_t(datagram.size()), 0,
                         reinterpret_cast<const sockaddr *>(&receiver),
                         sizeof receiver) == datagram.size());
    }

    Discovery::DiscoverySocket discovery{};
    sockaddr_in receiver{};
    std::vector<int> senders;
};

/// The number of bits of a contiguous mask, or -1. The last octet is first.
int maskLength(const QByteArray &field)
{
    std::uint32_t mask = 0;
    for (int octet = 3; octet >= 0; --octet)
        mask = mask << 8 | static_cast<std::uint8_t>(field[octet]);
    const int length = std::countl_one(mask);
    return length == std::popcount(mask) ? length : -1;
}

/// The announcement in a datagram, read at its offsets.
Announcement expected(int sender, const QByteArray &datagram)
{
    QByteArray name = datagram.sliced(32, 84);
    if (const qsizetype end = name.indexOf('\0'); end >= 0)
        name.truncate(end);
    return {QUuid::fromRfc4122(datagram.sliced(24, 8) + datagram.sliced(120, 8)),
            QHostAddress(QHostAddress(QHostAddress::LocalHost).toIPv4Address() + quint32(sender)),
            maskLength(datagram.sliced(116, 4)), QString::fromUtf8(name)};
}

bool isAnnouncement(const QByteArray &datagram)
{
    return datagram.size() >= 128 && datagram.size() <= longestDatagram &&
           datagram.startsWith(QByteArray("\0\0\0\1", 4));
}

void requireEntry(const Discovery::DiscoveredServer &entry, const Announcement &wanted)
{
    const Announcement read = Announcement::from(entry);
    require(read.uuid == wanted.uuid);
    require(read.address == wanted.address);
    require(read.netmask == wanted.netmask);
    require(read.name == wanted.name);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The program prints a line for every new entry of the table.
    return std::freopen("/dev/null", "w", stdout) == nullptr;
}

/// Input: at most 16 datagrams, each with one byte for the sender, two for the length, and the
/// content. The table has the first announcement of each of the first ten senders, and each entry
/// has the values at the offsets of its datagram.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Network network;
    Discovery::resetTable(network.discovery);

    Input input(data, size);
    std::vector<Announcement> table;
    for (int round = 0; round < datagramCount && !input.isEmpty(); ++round) {
        const int sender = input.byte() % senderCount;
        const int length = input.byte() << 8 | input.byte();
        const QByteArray datagram = input.bytes(std::min(length, 1100));
        network.send(sender, datagram);

        require(Discovery::poll(network.discovery) == isAnnouncement(datagram));
        if (!isAnnouncement(datagram))
            continue;
        const Announcement announcement = expected(sender, datagram);
        const bool known = std::ranges::count(table, announcement.address, &Announcement::address);
        if (!known && table.size() < Discovery::tableSize)
            table.push_back(announcement);
    }
    require(!Discovery::poll(network.discovery));

    Discovery::DiscoveredServer *entries = nullptr;
    std::size_t count = 0;
    Discovery::servers(network.discovery, entries, count);
    require(count == table.size());
    for (std::size_t index = 0; index < count; ++index)
        requireEntry(entries[index], table[index]);
    return 0;
}
