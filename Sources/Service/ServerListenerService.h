// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Discovery/DiscoverySocket.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QUuid>

struct Announcement;

/// Keeps track of servers and their connections by their announcements.
///
/// A server is one uuid. A connection is one of its interfaces: a source address with a netmask
/// length in bits. A tick, four times a second, reads the socket and compares the senders with the
/// known ones. It reads at most 4096 datagrams, so that it ends during a flood; the rest waits for
/// the next tick. A connection is removed on the 121st tick without an announcement, about 30
/// seconds after the last one, and never earlier. A server is added with its first connection and
/// removed with its last one. In one tick, all additions are emitted before all removals.
///
/// Qt does not fire a timer inside its own slot. So while a receiver runs an event loop, for
/// example in a message box, discovery pauses, and it continues with what the socket has kept. A
/// receiver never sees a second tick within the first.
///
/// If the port cannot be opened, no server is found, and nothing is reported.
class ServerListenerService final : public QObject
{
    Q_OBJECT

public:
    explicit ServerListenerService(QObject *parent = nullptr);
    /// Emits nothing about servers that are still known.
    ~ServerListenerService() override;

signals:
    /// A known server announced another name.
    void serverNameChanged(const QUuid &uuid, const QString &name);
    /// The first announcement of a server. Emitted before the server is known here.
    void addServer(const QUuid &uuid, const QHostAddress &ipAddress, int netmask,
                   const QString &name);
    /// A known server announced itself from another address.
    void addServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// A connection timed out. Emitted before it is removed here. The netmask is that of its
    /// addition.
    void removeServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// The last connection timed out. Emitted after its `removeServerConnection`, and before the
    /// server is removed here.
    void removeServer(const QUuid &uuid);

private slots:
    void listServers();

private:
    struct KnownConnection
    {
        QHostAddress address;
        int netmask = 0;
        qint32 lastSeen = 0; ///< the value of `pollCount` at the last announcement
    };

    struct KnownServer
    {
        QString name;
        QList<KnownConnection> connections;
    };

    void process(const Announcement &announcement);
    void noteConnection(KnownServer &server, const Announcement &announcement);
    void noteName(KnownServer &server, const Announcement &announcement);
    void expire();
    void expireConnections(const QUuid &uuid, QList<KnownConnection> &connections);

    Discovery::DiscoverySocket socket;
    QHash<QUuid, KnownServer> knownServers;
    qint64 pollCount = 0;
};
