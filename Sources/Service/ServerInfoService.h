// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Server.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>
#include <QSet>
#include <QUuid>

class QNetworkReply;

/// Downloads the library documents of servers, and checks the protocol version of each server.
///
/// There is at most one request for a server at a time. A network or HTTP error, a body of more
/// than 256 MiB or a malformed feature list blocks the server: no library is requested from it
/// until the program starts again. A refused version or document does not block it.
class ServerInfoService final : public QObject
{
    Q_OBJECT

public:
    ServerInfoService();

    /// Downloads the library of `server` from its first connection, which must exist. If a download
    /// for the same uuid is running, nothing is sent, but `server` replaces the record that it
    /// completes.
    void requestLibrary(const Server &server);

signals:
    /// A library has arrived: the record of the last `requestLibrary` for this server, with
    /// folders, hash and protocol information. Failures are only logged.
    void receivedServer(const Server &server);

private slots:
    void downloadFinished(QNetworkReply *reply);

private:
    void readLibrary(QNetworkReply *reply, const ProtocolInfo &protocolInfo);
    /// Also removes the reply from `pendingReplies`.
    void blockServer(QNetworkReply *reply);

    QNetworkAccessManager networkManager;
    QHash<QNetworkReply *, Server> pendingReplies;
    /// By id, not by reply: a later reply may get the address of a deleted one.
    QSet<QUuid> blockedServers;
};
