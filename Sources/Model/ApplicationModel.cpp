// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/ApplicationModel.h"

#include "Model/ServerDeck.h"

#include <QNetworkReply>

#include <algorithm>

namespace {

template <typename Predicate>
Server *firstServer(const QList<Server *> &servers, Predicate predicate)
{
    const auto found = std::ranges::find_if(servers, predicate);
    return found == servers.end() ? nullptr : *found;
}

const Server &orInvalid(const Server *server)
{
    return server ? *server : Server::invalid();
}

} // namespace

ApplicationModel::ApplicationModel()
{
    qRegisterMetaType<ServerDeck>("ServerDeck");
    qRegisterMetaType<MediaFolder>("MediaFolder");
    qRegisterMetaType<QNetworkReply::NetworkError>("QNetworkReply::NetworkError");
}

ApplicationModel::~ApplicationModel()
{
    qDeleteAll(servers);
}

void ApplicationModel::upsertServer(const Server &server)
{
    if (Server *known = find(server.uuid))
        *known = server;
    else
        servers.append(new Server(server));
}

void ApplicationModel::setServerName(const QUuid &uuid, const QString &name)
{
    if (Server *server = find(uuid))
        server->name = name;
}

const Server &ApplicationModel::addConnection(const QUuid &uuid, const QHostAddress &address,
                                              int netmask)
{
    Server *server = find(uuid);
    if (server)
        server->addConnection(address, netmask);
    return orInvalid(server);
}

void ApplicationModel::markConnected(const QUuid &uuid, const QHostAddress &address)
{
    for (Server *server : std::as_const(servers)) {
        if (server->uuid == uuid) {
            server->setActiveConnection(address);
            server->connected = true;
        }
    }
}

void ApplicationModel::removeConnection(const QUuid &uuid, const QHostAddress &address, int netmask)
{
    if (Server *server = findConnected(uuid))
        server->removeConnection(address, netmask);
}

bool ApplicationModel::removeServer(const QUuid &uuid)
{
    Server *server = find(uuid);
    if (!server)
        return false;
    servers.removeOne(server);
    delete server;
    return true;
}

const Server &ApplicationModel::connectedServer(const QUuid &uuid) const
{
    return orInvalid(findConnected(uuid));
}

const Server &ApplicationModel::connectedServerByAddress(const QHostAddress &address) const
{
    return orInvalid(firstServer(servers, [&address](const Server *server) {
        return server->connected && server->hasAddress(address);
    }));
}

QList<QUuid> ApplicationModel::connectedServersWithLibrary() const
{
    QList<QUuid> uuids;
    for (const Server *server : servers) {
        if (server->connected && !server->folders.isEmpty())
            uuids.append(server->uuid);
    }
    return uuids;
}

QHash<QUuid, QString> ApplicationModel::connectedServerNames() const
{
    QHash<QUuid, QString> names;
    for (const Server *server : servers) {
        if (server->connected && !names.contains(server->uuid))
            names.insert(server->uuid, server->name);
    }
    return names;
}

void ApplicationModel::setFpsStats(const QUuid &uuid, float graphFps, float totalFps,
                                   float monitorFps, bool isFullScreen)
{
    Server *server = findConnected(uuid);
    if (!server)
        return;
    server->graphFps = graphFps;
    server->totalFps = totalFps;
    server->monitorFps = monitorFps;
    server->isFullScreen = isFullScreen;
    server->hasFpsStats = true;
}

Server *ApplicationModel::find(const QUuid &uuid) const
{
    return firstServer(servers, [&uuid](const Server *server) { return server->uuid == uuid; });
}

Server *ApplicationModel::findConnected(const QUuid &uuid) const
{
    return firstServer(servers, [&uuid](const Server *server) {
        return server->connected && server->uuid == uuid;
    });
}
