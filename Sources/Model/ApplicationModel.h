// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Server.h"
#include "Model/Warnings.h"

#include <QHash>

/// The full path of the settings file.
[[nodiscard]] QString settingsFilePath();

/// The known servers, and the options that are kept between runs.
///
/// Some lookups see every server and some only the connected ones, as each one says. All go through
/// the list in order. A reference that a lookup returns is good until that server is removed.
class ApplicationModel final
{
public:
    /// Also makes the types that travel in signals known by their names.
    ApplicationModel();
    ~ApplicationModel();
    Q_DISABLE_COPY_MOVE(ApplicationModel)

    QList<Server *> servers; ///< all known servers; owned
    /// Index of the folder that is open in the banks, -1 at the folders level. Not persisted.
    int selectedFolder = -1;
    bool selectedViewMode = false; ///< true is list view, false is grid view
    int selectedIconSize = 1;      ///< 0 small, 1 medium, 2 large; any number is carried along
    quint32 warningLevel = Warnings::all; ///< the warnings that are shown
    ProtocolInfo protocolInfo;            ///< required, though nothing reads it

    /// Reads the three options. What is absent gets its default; a text that is no number reads as
    /// 0, and any text but an empty one, "0" and "false" as true.
    void load();
    /// Writes the three options and drops every other key of the file. Always true.
    bool save();

    /// Replaces the whole record with the same uuid in its place, or appends a new one.
    void upsertServer(const Server &server);
    void setServerName(const QUuid &uuid, const QString &name); ///< connected or not
    /// Returns the server, connected or not; the invalid one if it is unknown.
    const Server &addConnection(const QUuid &uuid, const QHostAddress &address, int netmask);
    /// Marks the server as connected, over `address` if it has that.
    void markConnected(const QUuid &uuid, const QHostAddress &address);
    /// Connected servers only.
    void removeConnection(const QUuid &uuid, const QHostAddress &address, int netmask);
    /// Returns false if there is no such server, connected or not.
    bool removeServer(const QUuid &uuid);

    /// The connected server, else the invalid one.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    /// The first connected server with any connection of that address, else the invalid one.
    [[nodiscard]] const Server &connectedServerByAddress(const QHostAddress &address) const;
    /// The connected servers that have at least one folder, in list order.
    [[nodiscard]] QList<QUuid> connectedServersWithLibrary() const;
    /// The names of the connected servers.
    [[nodiscard]] QHash<QUuid, QString> connectedServerNames() const;
    /// Connected servers only.
    void setFpsStats(const QUuid &uuid, float graphFps, float totalFps, float monitorFps,
                     bool isFullScreen);

private:
    [[nodiscard]] Server *find(const QUuid &uuid) const;
    [[nodiscard]] Server *findConnected(const QUuid &uuid) const;
};
