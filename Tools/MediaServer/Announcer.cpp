// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Announcer.h"

#include <QtEndian>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr quint16 discoveryPort = 3001;
constexpr qsizetype nameLimit = 83;

sockaddr_in socketAddress(const std::string &address, quint16 port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &result.sin_addr);
    return result;
}

QByteArray nameBytes(QString name)
{
    while (name.toUtf8().size() > nameLimit)
        name.chop(name.back().isLowSurrogate() ? 2 : 1);
    return name.toUtf8();
}

} // namespace

Announcer::Announcer(const Options &serverOptions)
    : options(serverOptions)
    , name(serverOptions.name)
    , socketHandle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    const int enable = 1;
    const sockaddr_in self = socketAddress(options.address, 0);
    if (setsockopt(socketHandle, SOL_SOCKET, SO_BROADCAST, &enable, sizeof enable) != 0 ||
        bind(socketHandle, reinterpret_cast<const sockaddr *>(&self), sizeof self) != 0)
        throw std::runtime_error("cannot announce from " + options.address);
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(options.announceInterval);
    connect(&timer, &QTimer::timeout, this, &Announcer::announce);
}

Announcer::~Announcer()
{
    close(socketHandle);
}

void Announcer::start()
{
    announce();
    timer.start();
}

void Announcer::stop()
{
    timer.stop();
}

void Announcer::setName(const QString &announcedName)
{
    name = announcedName;
}

Announcer::Datagram Announcer::datagram(const QUuid &uuid, const QString &name, quint32 mask,
                                        bool maskInNetworkOrder)
{
    Datagram bytes{};
    const QByteArray id = uuid.toRfc4122();
    const QByteArray text = nameBytes(name);
    qToBigEndian<quint32>(1, bytes.data());
    std::copy_n(id.begin(), 8, bytes.begin() + 24);
    std::ranges::copy(text, bytes.begin() + 32);
    if (maskInNetworkOrder)
        qToBigEndian(mask, bytes.data() + 116);
    else
        qToLittleEndian(mask, bytes.data() + 116);
    std::copy_n(id.begin() + 8, 8, bytes.begin() + 120);
    return bytes;
}

void Announcer::announce()
{
    const Datagram bytes =
        datagram(options.uuid, name, options.mask, options.faults.maskInNetworkOrder);
    const sockaddr_in receiver = socketAddress(options.announceTo, discoveryPort);
    // The result is ignored: when the network is down, the next announcement follows soon.
    sendto(socketHandle, bytes.data(), bytes.size(), 0,
           reinterpret_cast<const sockaddr *>(&receiver), sizeof receiver);
}
