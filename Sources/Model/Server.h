// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Model/ProtocolInfo.h"
#include "Model/Slots.h"

#include <QHostAddress>
#include <QPair>
#include <QUuid>

#include <array>

/// One IPv4 address under which a server answers, and the netmask length of that interface in bits.
using ServerConnection = QPair<QHostAddress, int>;

/// A pair of addresses, of the server asked and of the other, by which two servers can reach each
/// other. Both are null if none was found.
struct SubnetMatch
{
    bool found = false;
    QPair<QHostAddress, QHostAddress> addresses;
};

/// Positions in the list of folders by slot number, 0 to 256; -1 where no folder has that slot.
using FolderPositions = std::array<int, Slots::lastFolder + 1>;

/// One media server. Identified by its uuid; with a null uuid it is the invalid server.
struct Server
{
    QList<MediaFolder> folders;          ///< the library, in document order
    QList<ServerConnection> connections; ///< every known interface, in order of arrival
    QUuid uuid;
    QString hash; ///< of the whole library, any length
    QString name;
    ProtocolInfo protocolInfo;
    float graphFps = 0;
    float totalFps = 0;
    float monitorFps = 0;
    /// Index into `connections`. Required: it may fall past the end, see removeConnection.
    int activeConnection = 0;
    bool isFullScreen = false;
    bool hasFpsStats = false; ///< a frame-rate report has arrived
    bool connected = false;   ///< its notification stream has reached the client

    Server() = default;
    Server(const QUuid &id, const QHostAddress &address, int netmask, const QString &displayName);

    /// The one invalid server of the process, which lookups return that find nothing.
    [[nodiscard]] static const Server &invalid();

    /// Reads a library document into `folders` and `hash`. Returns false, and changes nothing, if
    /// anything in the document is not as it must be.
    [[nodiscard]] bool fromJson(const QJsonObject &json);

    /// A copy of the folder, or a default one if there is no such index.
    [[nodiscard]] MediaFolder folderAt(int index) const;
    /// Of several folders with one slot the first counts. Takes one pass, however many there are.
    [[nodiscard]] FolderPositions folderPositions() const;
    /// Whether any folder holds media of this hash. Required, though nothing calls it.
    [[nodiscard]] bool containsHash(const QString &wanted) const;

    /// Appends, without a look at duplicates.
    void addConnection(const QHostAddress &address, int netmask);
    /// Erases the first entry that matches in both. `activeConnection` is left as it is, as
    /// required, so it may then name another address or none.
    void removeConnection(const QHostAddress &address, int netmask);
    [[nodiscard]] bool hasAddress(const QHostAddress &address) const;
    /// Makes the first connection with this address the active one; without one, changes nothing.
    void setActiveConnection(const QHostAddress &address);
    /// The address of the active connection, null if the index is past the end.
    [[nodiscard]] QHostAddress currentAddress() const;

    /// The first pair of interfaces, in the order of the connections of this server and then of
    /// `other`, of which each address lies in the subnet that the other declares.
    [[nodiscard]] SubnetMatch findCommonSubnet(const Server &other) const;
};

Q_DECLARE_METATYPE(Server)
