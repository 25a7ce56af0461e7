// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QUuid>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

/// The fields of an announcement as a server sends them.
struct AnnouncementFields
{
    QUuid uuid{0x1b4e28ba, 0x2fa1, 0x11d2, 0x88, 0x3f, 0x00, 0x16, 0xd3, 0xcc, 0xa4, 0x27};
    QByteArray name = "Stage left";                    ///< bytes of the 84-byte field
    QByteArray mask = QByteArray("\0\xff\xff\xff", 4); ///< as on the wire: 255.255.255.0
    char type = 1;
};

/// The 128 bytes of one announcement.
inline QByteArray announcement(const AnnouncementFields &fields)
{
    const QByteArray uuid = fields.uuid.toRfc4122();
    QByteArray datagram(3, '\0');
    datagram += fields.type;
    datagram += QByteArray(20, '\xee');
    datagram += uuid.first(8);
    datagram += fields.name.leftJustified(84, '\0', true);
    datagram += fields.mask;
    datagram += uuid.last(8);
    return datagram;
}

/// A sender of datagrams from one address. When `send` returns, the datagram is in the queue of the
/// receiver.
class Announcer final
{
public:
    explicit Announcer(const QString &address, quint16 port = 0)
        : socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(port);
        inet_pton(AF_INET, address.toLatin1().constData(), &local.sin_addr);
        bound = bind(socket, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0;
    }

    ~Announcer() { close(socket); }
    Q_DISABLE_COPY_MOVE(Announcer)

    [[nodiscard]] bool isBound() const { return bound; }

    [[nodiscard]] quint16 port() const
    {
        sockaddr_in local{};
        socklen_t length = sizeof local;
        getsockname(socket, reinterpret_cast<sockaddr *>(&local), &length);
        return ntohs(local.sin_port);
    }

    /// Returns false if the datagram was not sent whole.
    bool send(const QByteArray &datagram) const
    {
        sockaddr_in receiver{};
        receiver.sin_family = AF_INET;
        receiver.sin_port = htons(3001);
        receiver.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return sendto(socket, datagram.constData(), size_t(datagram.size()), 0,
                      reinterpret_cast<const sockaddr *>(&receiver),
                      sizeof receiver) == datagram.size();
    }

private:
    int socket;
    bool bound = false;
};
