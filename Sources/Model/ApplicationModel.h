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
/// Some lookups search all servers and some only the connected ones; each one documents which. All
/// search the list in order. A returned reference is valid until that server is removed.
class ApplicationModel final
{
public:
    /// Also registers the types of signal arguments by name.
    ApplicationModel();
    ~ApplicationModel();
    Q_DISABLE_COPY_MOVE(ApplicationModel)

    QList<Server *> servers; ///< all known servers; owned
    /// Index of the folder that is open in the banks, -1 at the folders level. Not persisted.
    int selectedFolder = -1;
    bool selectedViewMode = false;        ///< true is list view, false is grid view
    int selectedIconSize = 1;             ///< 0 small, 1 medium, 2 large; any other number is kept
    quint32 warningLevel = Warnings::all; ///< the warnings that are shown
    ProtocolInfo protocolInfo;            ///< required, though nothing reads it

    /// Reads the three options. A missing option gets its default. A text that is not a number
    /// reads as 0. As a truth value, every text but "", "0" and "false" is true.
    void load();
    /// Writes the three options and removes every other key of the file. Always returns true.
    bool save();

    /// Replaces the record with the same uuid, at its place in the list, or appends a new one.
    void upsertServer(const Server &server);
    void setServerName(const QUuid &uuid, const QString &name); ///< connected or not
    /// Returns the server, connected or not, or the invalid one if it is unknown.
    const Server &addConnection(const QUuid &uuid, const QHostAddress &address, int netmask);
    /// Marks the server as connected, and makes `address` the active one if the server has it.
    void markConnected(const QUuid &uuid, const QHostAddress &address);
    /// Connected servers only.
    void removeConnection(const QUuid &uuid, const QHostAddress &address, int netmask);
    /// Returns false if there is no such server, connected or not.
    bool removeServer(const QUuid &uuid);

    /// The connected server, or the invalid one.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    /// The first connected server that has a connection with this address, or the invalid one.
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
