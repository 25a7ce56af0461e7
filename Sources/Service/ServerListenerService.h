// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Discovery/DiscoverySocket.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QUuid>

struct Announcement;

/// Turns announcements on the network into servers and connections that come and go.
///
/// A server is one uuid; a connection is one of its interfaces, a source address with a netmask
/// length in bits. Four times a second the socket is drained and compared with what is known. One
/// tick reads at most 4096 datagrams, so that a flood of them cannot keep it from ending; the rest
/// waits for the next tick. A connection goes on the 121st tick without an announcement, about 30
/// seconds after it was last heard; there is no other way out. A server comes with its first
/// connection and goes with its last. In one tick everything that comes is emitted before all
/// that goes.
///
/// Qt fires no timer inside its own slot. So while a receiver runs an event loop, as a message box
/// does, discovery stands still, and goes on with what the socket has kept. A receiver therefore
/// never meets a second tick within the first.
///
/// If the port can't be opened, nothing is ever heard, and nothing is reported.
class ServerListenerService final : public QObject
{
    Q_OBJECT

public:
    explicit ServerListenerService(QObject *parent = nullptr);
    /// Tells nobody about servers that were still known.
    ~ServerListenerService() override;

signals:
    /// A known server announced a different name.
    void serverNameChanged(const QUuid &uuid, const QString &name);
    /// First announcement of a server. Comes before the server is known here.
    void addServer(const QUuid &uuid, const QHostAddress &ipAddress, int netmask,
                   const QString &name);
    /// A known server announced from another address.
    void addServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// A connection timed out; it is still known here. The netmask is the one it was added with.
    void removeServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// The last connection timed out; follows its `removeServerConnection`. The server is still
    /// known here.
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
