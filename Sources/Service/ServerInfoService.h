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

/// Fetches the library documents of servers, and is the one place that looks at the version that a
/// server speaks.
///
/// There is at most one request per server at a time. A download that fails at the network or HTTP
/// level, a body of more than 256 MiB included, or whose feature list is malformed, closes the door
/// for that server: until the program is started again nothing is requested from it any more. A
/// refused version or document does not.
class ServerInfoService final : public QObject
{
    Q_OBJECT

public:
    ServerInfoService();

    /// Downloads the library of `server` from the first of its connections, of which there must be
    /// one. While a download for the same uuid is under way nothing is sent; the record that it
    /// will complete is replaced by `server`.
    void requestLibrary(const Server &server);

signals:
    /// A library has arrived: the record of the latest `requestLibrary` for this server, with
    /// folders, hash and protocol information filled in. A failure is told in the log alone.
    void receivedServer(const Server &server);

private slots:
    void downloadFinished(QNetworkReply *reply);

private:
    void readLibrary(QNetworkReply *reply, const ProtocolInfo &protocolInfo);
    void closeDoor(QNetworkReply *reply);

    QNetworkAccessManager networkManager;
    QHash<QNetworkReply *, Server> pendingReplies;
    /// By id and not by reply: a later reply may come to lie at the address of a deleted one.
    QSet<QUuid> closedDoors;
};
