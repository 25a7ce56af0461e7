// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Model/ProtocolInfo.h"

#include <QHostAddress>
#include <QPair>
#include <QUuid>

/// One IPv4 address of a server, and the netmask length of that interface in bits.
using ServerConnection = QPair<QHostAddress, int>;

/// Two addresses at which two servers can reach each other: the first of the server on which
/// `findCommonSubnet` was called. Both are null if there is no such pair.
struct SubnetMatch
{
    bool found = false;
    QPair<QHostAddress, QHostAddress> addresses;
};

/// One media server, identified by its uuid. With a null uuid it is the invalid server.
struct Server
{
    QList<MediaFolder> folders;          ///< the library, in document order
    QList<ServerConnection> connections; ///< every known interface, in order of arrival
    QUuid uuid;
    QString hash; ///< of the whole library, any length
    QString name;
    ProtocolInfo protocolInfo; ///< required, although nothing reads it
    float graphFps = 0;
    float totalFps = 0;
    float monitorFps = 0;
    /// Index into `connections`. Required: it may fall past the end, see removeConnection.
    int activeConnection = 0;
    bool isFullScreen = false;
    bool hasFpsStats = false; ///< a frame-rate report has arrived
    bool connected = false;   ///< its notification stream is open

    Server() = default;
    Server(const QUuid &id, const QHostAddress &address, int netmask, const QString &displayName);

    /// The invalid server of the process. Lookups that find nothing return it.
    [[nodiscard]] static const Server &invalid();

    /// Reads a library document into `folders` and `hash`. Returns false and changes nothing if
    /// anything in the document is invalid.
    [[nodiscard]] bool fromJson(const QJsonObject &json);

    /// A copy of the folder at this index, or a default one.
    [[nodiscard]] MediaFolder folderAt(int index) const;
    /// Position of the first folder with this slot, -1 if there is none.
    [[nodiscard]] int folderPosition(int slot) const;
    /// Whether any folder has a visual with this hash. Required, though nothing calls it.
    [[nodiscard]] bool containsHash(const QString &wanted) const;

    /// Appends without a check for duplicates.
    void addConnection(const QHostAddress &address, int netmask);
    /// Erases the first entry that matches in both. `activeConnection` is left as it is, as
    /// required, so it may then name another address or none.
    void removeConnection(const QHostAddress &address, int netmask);
    [[nodiscard]] bool hasAddress(const QHostAddress &address) const;
    /// Makes the first connection with this address the active one, if there is one.
    void setActiveConnection(const QHostAddress &address);
    /// The address of the active connection, null if the index is past the end.
    [[nodiscard]] QHostAddress currentAddress() const;

    /// The first pair of connections, in the order of this server and then of `other`, in which
    /// each address is in the subnet of the other connection.
    [[nodiscard]] SubnetMatch findCommonSubnet(const Server &other) const;
};

Q_DECLARE_METATYPE(Server)
